-- What is the distribution of the main application's start times, in milliseconds, per version?
with ranked as (
    select version, ms, cume_dist() over (partition by version order by ms) as share
    from starts
    where status = 0 and application not like '%.app/%'
)
select version, count(*) as starts,
    min(case when share >= 0.5 then ms end) as median,
    min(case when share >= 0.9 then ms end) as p90,
    min(case when share >= 0.99 then ms end) as p99,
    max(ms) as slowest
from ranked
group by version
order by version;
