-- Which modems fail to start the application, on which version, and why?
with tried as (
    select modem, version, count(distinct machine) as machines
    from starts
    group by modem, version
), failed as (
    select modem, version, status, count(distinct machine) as failing, count(*) as failures
    from starts
    where status <> 0
    group by modem, version, status
)
select failed.modem, failed.version, status, failing as machines, machines as of_machines, failures
from failed join tried on tried.modem = failed.modem and tried.version = failed.version
order by failing desc, failed.modem, failed.version, status;
