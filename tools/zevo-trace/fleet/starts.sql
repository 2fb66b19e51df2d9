-- Every attempt to start an application. The line behind the announcement has its outcome: a failure with its status,
-- or that the launcher went on (status 0). Null: the trace ends there.
create view starts as
select machine, run, started, coalesce(version, 'unknown') as version, coalesce(modem, 'unknown') as modem, time,
    substring(text from 20) as application,
    case when next_text like '% failed : status = %'
         then cast(substring(next_text from position('status = ' in next_text) + 9) as integer)
         when next_kind is not null then 0 end as status,
    next_elapsed - elapsed as ms
from (
    select machine, run, started, version, modem, time, elapsed, kind, text,
        lead(kind) over (partition by machine, started, run, thread order by line) as next_kind,
        lead(text) over (partition by machine, started, run, thread order by line) as next_text,
        lead(elapsed) over (partition by machine, started, run, thread order by line) as next_elapsed
    from lines
    where call in ('ZevoLauncher::processDevice', 'ZevoLauncher::isProcessRunning')
) steps
where kind = 'message' and text like 'Start executable : %';
