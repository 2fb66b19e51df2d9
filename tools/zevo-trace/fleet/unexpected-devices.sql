-- Which unexpected devices of the modem's maker arrive: another model, or another personality?
with arrivals as (
    select machine, call, text,
        lead(text, 1) over (partition by machine, started, run, thread order by line) as modem_text,
        lead(text, 2) over (partition by machine, started, run, thread order by line) as cdrom_text
    from lines
    where call = 'ZevoLauncher::onDeviceArrival' and kind = 'message'
), devices as (
    select machine,
        lower(substring(text from 24)) as device,
        lower(substring(modem_text from 30)) as modem,
        lower(substring(cdrom_text from 30)) as cdrom
    from arrivals
    where text like 'Detected hardware id : %'
)
select device, modem, count(distinct machine) as machines, count(*) as notifications
from devices
where device <> modem and device <> cdrom and substring(device from 1 for 12) = substring(modem from 1 for 12)
group by device, modem
order by machines desc, device, modem;
