create table dept (
  name varchar(20) not null primary key,
  floor integer);

create table team (
  dept varchar(20) not null references dept (name),
  name varchar(20) not null primary key);

create table member (
  team varchar(20) not null references team (name),
  badge integer,
  called varchar(20));
