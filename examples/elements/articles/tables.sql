create table article (
  article_id integer not null primary key,
  title varchar(80),
  body clob(1m));

create table author (
  article_id integer not null references article (article_id),
  name varchar(40),
  mail varchar(40));
