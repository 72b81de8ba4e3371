-- Of the schema ORVXML what tests of composition and decomposition need: fewer objects than enabling
-- makes, and none of it needs the library's packages.
create distinct type orvxml.XMLVarchar as varchar(3000) with comparisons;
create distinct type orvxml.XMLCLOB as CLOB(2G);

create table orvxml.dtd_ref (
  dtdid varchar(128) not null,
  content orvxml.XMLCLOB not null not logged,
  usage_count int not null,
  author varchar(128),
  creator varchar(128),
  updator varchar(128),
  constraint dtd_ref_pk primary key (dtdid));

create table orvxml.xml_usage (
  table_schema char(31) not null,
  table_name char(129) not null,
  col_name char(31) not null,
  dtdid varchar(128),
  DAD clob(100k),
  access_mode int not null,
  validation int not null,
  default_view char(128),
  trigger_suffix char(8) not null,
  constraint xml_col_pk primary key (table_schema, table_name, col_name),
  constraint xml_col_fk foreign key (dtdid) references orvxml.dtd_ref (dtdid));

create procedure orvxml.qrkShredXML(
    in dadBuf clob(100K), in XMLObj clob(1M),
    out returnCode integer, out returnMsg varchar(1024))
  external name 'orvxml!qrkShredXML'
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkInsertXML(
    in collectionName varchar(128), in XMLObj clob(1M),
    out returnCode integer, out returnMsg varchar(1024))
  external name 'orvxml!qrkInsertXML'
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkGenXML(
    in dadBuf clob(100K), in resultTable varchar(128), in overrideType integer,
    in override varchar(32672), in maxRows integer, out numRows integer, out returnCode integer,
    out returnMsg varchar(1024))
  external name 'orvxml!qrkGenXML' specific ORVXML.QRKGENXML1
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkGenXML(
    in dadBuf clob(100K), in resultTable varchar(128), in resultColumn varchar(128),
    in validColumn varchar(128), in overrideType integer, in override varchar(32672),
    in maxRows integer, out numRows integer, out returnCode integer, out returnMsg varchar(1024))
  external name 'orvxml!qrkGenXML2' specific ORVXML.QRKGENXML2
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkGenXMLClob(
    in dadBuf clob(100K), in overrideType integer, in override varchar(32672),
    out resultDoc clob(1M), out valid integer, out numDocs integer, out returnCode integer,
    out returnMsg varchar(1024))
  external name 'orvxml!qrkGenXMLClob' specific ORVXML.QRKGENXMLCLOB
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkRetrieveXMLClob(
    in collectionName varchar(128), in overrideType integer, in override varchar(32672),
    out resultDoc clob(1M), out valid integer, out numDocs integer, out returnCode integer,
    out returnMsg varchar(1024))
  external name 'orvxml!qrkRetrieveXMLClob' specific ORVXML.QRKRETRIEVEXMLCLOB
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkRetrieveXML(
    in collectionName varchar(128), in resultTable varchar(128), in overrideType integer,
    in override varchar(32672), in maxRows integer, out numRows integer, out returnCode integer,
    out returnMsg varchar(1024))
  external name 'orvxml!qrkRetrieveXML' specific ORVXML.QRKRETRIEVEXML1
  language C parameter style ORVDARI not deterministic fenced null call;

create procedure orvxml.qrkRetrieveXML(
    in collectionName varchar(128), in resultTable varchar(128), in resultColumn varchar(128),
    in validColumn varchar(128), in overrideType integer, in override varchar(32672),
    in maxRows integer, out numRows integer, out returnCode integer, out returnMsg varchar(1024))
  external name 'orvxml!qrkRetrieveXML2' specific ORVXML.QRKRETRIEVEXML2
  language C parameter style ORVDARI not deterministic fenced null call;
