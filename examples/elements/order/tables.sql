create table orders (
  order_no varchar(12) not null primary key,
  company varchar(40),
  street varchar(40),
  city varchar(40),
  placed date);

create table line (
  order_no varchar(12) not null references orders (order_no),
  position integer,
  article varchar(20),
  quantity integer);
