-- Which calls take longer than on the version before? A call includes the time of the calls that it makes.
with spans as (
    select call, version, min(started) as since, count(*) as calls, avg(duration) as mean
    from lines
    where kind = 'exit' and duration is not null and version is not null
    group by call, version
), steps as (
    select call, version, calls, mean,
        lag(version) over (partition by call order by since) as before,
        lag(mean) over (partition by call order by since) as mean_before
    from spans
)
select call, before, version, calls, round(mean_before, 1) as ms_before, round(mean, 1) as ms
from steps
where calls >= 100 and mean > 1.5 * mean_before and mean - mean_before >= 1
order by mean - mean_before desc, call, version;
