-- The languages of ISO 639-3.
create table language (
  id char(3) not null primary key,
  part1 char(2),
  part2 char(3),
  status varchar(10) not null,
  scope char(1) not null,
  kind char(1) not null,
  inverted_name varchar(100),
  reference_name varchar(100) not null,
  name varchar(100) not null,
  common_name varchar(100));
