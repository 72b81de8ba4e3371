create table mail (id integer not null primary key, doc orvxml.XMLCLOB);
