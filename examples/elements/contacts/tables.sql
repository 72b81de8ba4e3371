create table contact (
  name varchar(40) not null primary key,
  town varchar(40),
  phone varchar(20));
