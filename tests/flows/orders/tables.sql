create table orders (
  order_no integer not null primary key,
  placed date,
  customer varchar(40),
  remark varchar(60));

create table part (
  part_no varchar(10) not null,
  price decimal(10,2),
  order_no integer not null references orders (order_no));
