create table film (
  film_id varchar(8) not null primary key,
  made integer);

create table title (
  film_id varchar(8) not null references film (film_id),
  lang char(2),
  text varchar(60));

create table genre (
  film_id varchar(8) not null references film (film_id),
  name varchar(20));
