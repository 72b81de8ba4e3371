-- Four tables: a customer has invoices, an invoice has lines, a line has taxes.
create table customer (
  customer_no varchar(12) not null primary key,
  name varchar(80) not null,
  street varchar(80),
  city varchar(60),
  country char(2));

create table invoice (
  invoice_no varchar(16) not null primary key,
  issued date not null,
  currency char(3) not null,
  remark varchar(400),
  customer_no varchar(12) not null,
  foreign key (customer_no) references customer (customer_no));

create table invoice_line (
  invoice_no varchar(16) not null,
  line_no integer not null,
  article varchar(20),
  description varchar(200),
  quantity integer not null,
  unit_price decimal(10,2) not null,
  primary key (invoice_no, line_no),
  foreign key (invoice_no) references invoice (invoice_no));

create table line_tax (
  invoice_no varchar(16) not null,
  line_no integer not null,
  kind varchar(20) not null,
  rate decimal(5,2) not null,
  amount decimal(10,2) not null,
  foreign key (invoice_no, line_no) references invoice_line (invoice_no, line_no));
