-- A record shop with branches in six cities: what it sells, to whom, and what was sold.
create table country (
  code char(2) not null primary key,
  name varchar(40) not null);

create table branch (
  branch_id integer not null primary key,
  city varchar(40) not null,
  country char(2) not null,
  foreign key (country) references country (code));

create table employee (
  employee_id integer not null primary key,
  name varchar(80) not null,
  branch_id integer not null,
  manager_id integer,
  hired date not null,
  foreign key (branch_id) references branch (branch_id),
  foreign key (manager_id) references employee (employee_id));

create table genre (
  genre_id integer not null primary key,
  name varchar(40) not null);

create table label (
  label_id integer not null primary key,
  name varchar(60) not null);

create table medium (
  code char(2) not null primary key,
  name varchar(40) not null);

create table artist (
  artist_id integer not null primary key,
  name varchar(80) not null,
  country char(2) not null,
  founded smallint,
  foreign key (country) references country (code));

create table album (
  album_id integer not null primary key,
  title varchar(160) not null,
  artist_id integer not null,
  genre_id integer not null,
  label_id integer not null,
  released date,
  foreign key (artist_id) references artist (artist_id),
  foreign key (genre_id) references genre (genre_id),
  foreign key (label_id) references label (label_id));

create table track (
  album_id integer not null,
  position smallint not null,
  title varchar(160) not null,
  seconds integer not null,
  primary key (album_id, position),
  foreign key (album_id) references album (album_id));

-- An album as it is sold: pressed on a medium, at a price.
create table edition (
  edition_no varchar(12) not null primary key,
  album_id integer not null,
  medium char(2) not null,
  price decimal(7,2) not null,
  foreign key (album_id) references album (album_id),
  foreign key (medium) references medium (code));

create table customer (
  customer_id integer not null primary key,
  name varchar(80) not null,
  street varchar(80),
  city varchar(40) not null,
  country char(2) not null,
  foreign key (country) references country (code));

create table invoice (
  invoice_id integer not null primary key,
  customer_id integer not null,
  employee_id integer,
  issued date not null,
  remark varchar(200),
  foreign key (customer_id) references customer (customer_id),
  foreign key (employee_id) references employee (employee_id));

create table invoice_line (
  invoice_id integer not null,
  line_no smallint not null,
  edition_no varchar(12) not null,
  quantity integer not null,
  price decimal(7,2) not null,
  primary key (invoice_id, line_no),
  foreign key (invoice_id) references invoice (invoice_id),
  foreign key (edition_no) references edition (edition_no));

create index album_by_artist on album (artist_id);
