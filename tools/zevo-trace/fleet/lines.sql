-- The lines of all machines, from files of JSON lines. Only this statement is specific to DuckDB.
create view lines as
select * from read_json('fleet/*.jsonl', format = 'newline_delimited', columns = {
    machine: 'varchar', run: 'integer', started: 'varchar', version: 'varchar', modem: 'varchar', line: 'bigint',
    time: 'varchar', elapsed: 'bigint', thread: 'varchar', depth: 'integer', call: 'varchar', kind: 'varchar',
    duration: 'bigint', level: 'varchar', number: 'integer', text: 'varchar'});
