-- Orders with their lines, and where their documents go.
create table orders (
  order_no integer not null primary key,
  customer varchar(40) not null,
  ordered date not null,
  status varchar(10) not null,
  total decimal(11,2) not null);

create table lines (
  order_no integer not null,
  line_no integer not null,
  article varchar(20) not null,
  description varchar(60) not null,
  quantity integer not null,
  price decimal(9,2) not null,
  primary key (order_no, line_no),
  foreign key (order_no) references orders (order_no));

create table result (doc clob(100m));
create table narrow (doc clob(100));
