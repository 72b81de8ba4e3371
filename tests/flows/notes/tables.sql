create schema pad;
create table pad."a note" (
  kind varchar(10),
  word varchar(20),
  body varchar(400));
