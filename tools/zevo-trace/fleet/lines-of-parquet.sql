-- The same from Parquet files.
create view lines as
select * from read_parquet('fleet/*.parquet');
