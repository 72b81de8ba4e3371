create table shelf (
  code varchar(8) not null primary key,
  room varchar(20));

create table book (
  shelf varchar(8) not null references shelf (code),
  isbn varchar(20) not null primary key,
  title varchar(60));

create table author (
  shelf varchar(8) not null,
  isbn varchar(20) not null references book (isbn),
  name varchar(40),
  born integer);
