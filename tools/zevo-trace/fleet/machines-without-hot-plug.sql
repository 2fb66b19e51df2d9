-- On which machines is the newest run not notified of arriving devices, and since when?
with runs as (
    select machine, started, run, max(version) as version,
        max(case when text = 'No device that arrives or leaves from now on will be noticed.' then 1 else 0 end) as is_deaf
    from lines
    where run > 0
    group by machine, started, run
), marked as (
    select machine, started, version, is_deaf,
        row_number() over (partition by machine order by started desc, run desc) as age,
        max(case when is_deaf = 0 then started end) over (partition by machine) as last_that_hears
    from runs
)
select machine, max(case when age = 1 then version end) as version,
    min(case when is_deaf = 1 and (last_that_hears is null or started > last_that_hears) then started end) as since,
    count(*) as runs, sum(is_deaf) as deaf_runs
from marked
group by machine
having max(case when age = 1 then is_deaf end) = 1
order by machine;
