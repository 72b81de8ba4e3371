-- Media types with their file name patterns, aliases, parents, root elements and magic numbers.
create table mime_type (
  type_name varchar(128) not null primary key,
  acronym varchar(20),
  expanded_acronym varchar(128),
  icon varchar(64));

create table mime_glob (
  type_name varchar(128) not null,
  pattern varchar(64) not null,
  weight integer,
  case_sensitive varchar(5),
  foreign key (type_name) references mime_type (type_name));

create table mime_alias (
  type_name varchar(128) not null,
  alias varchar(128) not null,
  foreign key (type_name) references mime_type (type_name));

create table mime_parent (
  type_name varchar(128) not null,
  parent varchar(128) not null,
  foreign key (type_name) references mime_type (type_name));

create table mime_root (
  type_name varchar(128) not null,
  namespace_uri varchar(200),
  local_name varchar(64),
  foreign key (type_name) references mime_type (type_name));

create table mime_magic (
  type_name varchar(128) not null,
  priority integer,
  foreign key (type_name) references mime_type (type_name));

create table mime_match (
  type_name varchar(128) not null,
  kind varchar(16) not null,
  location varchar(32) not null,
  pattern varchar(400) not null,
  mask varchar(400),
  foreign key (type_name) references mime_type (type_name));
