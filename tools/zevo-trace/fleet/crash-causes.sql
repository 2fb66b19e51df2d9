-- Why do launchers crash, and in which call? A request to end is no crash.
with causes as (
    select machine, started, run, coalesce(version, 'unknown') as version, text as cause
    from lines
    where call = 'SIGNAL_FILTER' and kind = 'message' and level = 'E'
        and text not in ('SIGNAL_SOTWARE_TERMINATION', 'SIGNAL_HANG_UP', 'SIGNAL_INTERRUPT', 'UNKNOWN SIGNAL (18)')
), stacks as (
    select machine, started, run, text as innermost,
        lag(text) over (partition by machine, started, run order by line) as above
    from lines
    where kind = 'stack'
)
select cause, innermost, version, count(distinct causes.machine) as machines, count(*) as crashes
from causes left join stacks
    on stacks.machine = causes.machine and stacks.started = causes.started and stacks.run = causes.run
        and stacks.above = 'SIGNAL_FILTER'
group by cause, innermost, version
order by crashes desc, cause, innermost, version;
