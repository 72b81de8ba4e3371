-- The schema ORVXML as far as documents in columns need it: the types of stored documents and the
-- functions on them. On a database that has run examples/procedures.sql the first two types are
-- there already: leave their statements out.
set current function path = ORVXML, SYSNTQ, SYSFUN;

create distinct type orvxml.XMLVarchar as varchar(3000) with comparisons;
create distinct type orvxml.XMLCLOB as CLOB(2G);
create distinct type orvxml.XMLFile as varchar(512) with comparisons;

-- Storage: from files into columns, and from columns into files. A last argument of 100 characters
-- names the encoding of the file.
create function orvxml.XMLVarcharFromFile(varchar(512))
  returns XMLVarchar cast from varchar(32672)
  specific qrkVarChar external name 'orvxmlfn!qrkVarChar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLVarcharFromFile(varchar(512), varchar(100))
  returns XMLVarchar cast from varchar(32672)
  specific qrkXMLVarcharFile2 external name 'orvxmlfn!qrkXMLVarcharFromFile2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLCLOBFromFile(varchar(512))
  returns XMLCLOB AS LOCATOR specific qrkCLOB external name 'orvxmlfn!qrkCLOB'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLCLOBFromFile(varchar(512), varchar(100))
  returns XMLCLOB AS LOCATOR specific qrkXMLCLOBFile2 external name 'orvxmlfn!qrkXMLCLOBFromFile2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLFileFromVarchar(varchar(32672), varchar(512))
  returns XMLFile specific qrkContentvar2file external name 'orvxmlfn!qrkContent_varchar2file'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLFileFromVarchar(varchar(32672), varchar(512), varchar(100))
  returns XMLFile specific qrkXMLFileVarchar2 external name 'orvxmlfn!qrkXMLFileFromVarchar2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512))
  returns XMLFile specific qrkFile external name 'orvxmlfn!qrkFile'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512), varchar(100))
  returns XMLFile specific qrkXMLFileCLOB2 external name 'orvxmlfn!qrkXMLFileFromClob2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

-- Content: a stored document as a file or a CLOB.
create function orvxml.Content(XMLVarchar, varchar(512))
  returns varchar(512) specific orvxmlcontentvf external name 'orvxmlfn!qrkContent_varchar2file'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.Content(XMLVarchar, varchar(512), varchar(100))
  returns varchar(512) specific orvxmlcontentvf2 external name 'orvxmlfn!qrkXMLFileFromVarchar2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.Content(XMLCLOB as LOCATOR, varchar(512))
  returns varchar(512) specific orvxmlcontentcf external name 'orvxmlfn!qrkFile'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.Content(XMLCLOB as LOCATOR, varchar(512), varchar(100))
  returns varchar(512) specific orvxmlcontentcf2 external name 'orvxmlfn!qrkXMLFileFromClob2'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.Content(XMLFile)
  returns XMLCLOB AS LOCATOR specific orvxmlcontentfc external name 'orvxmlfn!qrkCLOB'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

-- Extraction of the one value that a location path selects.
create function orvxml.extractVarchar(XMLFile, varchar(256))
  returns varchar(4000) external name 'orvxmlfn!qrkExtractVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractVarchar(XMLCLOB as LOCATOR, varchar(256))
  returns varchar(4000) external name 'orvxmlfn!qrkExtractVarcharFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractVarchar(XMLVarchar, varchar(256))
  returns varchar(4000) external name 'orvxmlfn!qrkExtractVarcharFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractChar(XMLFile, varchar(256))
  returns char(254) external name 'orvxmlfn!qrkExtractChar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractChar(XMLCLOB as LOCATOR, varchar(256))
  returns char(254) external name 'orvxmlfn!qrkExtractCharFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractChar(XMLVarchar, varchar(256))
  returns char(254) external name 'orvxmlfn!qrkExtractCharFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractClob(XMLFile, varchar(256))
  returns clob(2G) as locator external name 'orvxmlfn!qrkExtractClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractClob(XMLCLOB as LOCATOR, varchar(256))
  returns clob(2G) as locator external name 'orvxmlfn!qrkExtractClobFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractClob(XMLVarchar, varchar(256))
  returns clob(2G) as locator external name 'orvxmlfn!qrkExtractClobFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDate(XMLFile, varchar(256))
  returns date external name 'orvxmlfn!qrkExtractDate'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDate(XMLCLOB as LOCATOR, varchar(256))
  returns date external name 'orvxmlfn!qrkExtractDateFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDate(XMLVarchar, varchar(256))
  returns date external name 'orvxmlfn!qrkExtractDateFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDouble(XMLFile, varchar(256))
  returns double external name 'orvxmlfn!qrkExtractDouble'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDouble(XMLCLOB as LOCATOR, varchar(256))
  returns double external name 'orvxmlfn!qrkExtractDoubleFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDouble(XMLVarchar, varchar(256))
  returns double external name 'orvxmlfn!qrkExtractDoubleFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractReal(XMLFile, varchar(256))
  returns real external name 'orvxmlfn!qrkExtractReal'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractReal(XMLCLOB as LOCATOR, varchar(256))
  returns real external name 'orvxmlfn!qrkExtractRealFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractReal(XMLVarchar, varchar(256))
  returns real external name 'orvxmlfn!qrkExtractRealFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractInteger(XMLFile, varchar(256))
  returns integer external name 'orvxmlfn!qrkExtractInteger'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractInteger(XMLCLOB as LOCATOR, varchar(256))
  returns integer external name 'orvxmlfn!qrkExtractIntegerFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractInteger(XMLVarchar, varchar(256))
  returns integer external name 'orvxmlfn!qrkExtractIntegerFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractSmallint(XMLFile, varchar(256))
  returns smallint external name 'orvxmlfn!qrkExtractSmallint'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractSmallint(XMLCLOB as LOCATOR, varchar(256))
  returns smallint external name 'orvxmlfn!qrkExtractSmallintFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractSmallint(XMLVarchar, varchar(256))
  returns smallint external name 'orvxmlfn!qrkExtractSmallintFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTime(XMLFile, varchar(256))
  returns time external name 'orvxmlfn!qrkExtractTime'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTime(XMLCLOB as LOCATOR, varchar(256))
  returns time external name 'orvxmlfn!qrkExtractTimeFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTime(XMLVarchar, varchar(256))
  returns time external name 'orvxmlfn!qrkExtractTimeFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTimestamp(XMLFile, varchar(256))
  returns timestamp external name 'orvxmlfn!qrkExtractTimestamp'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTimestamp(XMLCLOB as LOCATOR, varchar(256))
  returns timestamp external name 'orvxmlfn!qrkExtractTimestampFromClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTimestamp(XMLVarchar, varchar(256))
  returns timestamp external name 'orvxmlfn!qrkExtractTimestampFromVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

-- Extraction of all values that a location path selects, a row each.
create function orvxml.extractVarchars(XMLFile, varchar(256))
  returns table(returnedVarchar varchar(4000)) external name 'orvxmlfn!qrkExtractVarchars'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractVarchars(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedVarchar varchar(4000)) external name 'orvxmlfn!qrkExtractVarcharsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractVarchars(XMLVarchar, varchar(256))
  returns table(returnedVarchar varchar(4000))
  external name 'orvxmlfn!qrkExtractVarcharsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractChars(XMLFile, varchar(256))
  returns table(returnedChar char(254)) external name 'orvxmlfn!qrkExtractChars'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractChars(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedChar char(254)) external name 'orvxmlfn!qrkExtractCharsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractChars(XMLVarchar, varchar(256))
  returns table(returnedChar char(254)) external name 'orvxmlfn!qrkExtractCharsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractClobs(XMLFile, varchar(256))
  returns table(returnedClob clob(1G) as locator) external name 'orvxmlfn!qrkExtractClobs'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractClobs(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedClob clob(1G) as locator) external name 'orvxmlfn!qrkExtractClobsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractClobs(XMLVarchar, varchar(256))
  returns table(returnedClob clob(1G) as locator)
  external name 'orvxmlfn!qrkExtractClobsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDates(XMLFile, varchar(256))
  returns table(returnedDate date) external name 'orvxmlfn!qrkExtractDates'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDates(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedDate date) external name 'orvxmlfn!qrkExtractDatesFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDates(XMLVarchar, varchar(256))
  returns table(returnedDate date) external name 'orvxmlfn!qrkExtractDatesFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDoubles(XMLFile, varchar(256))
  returns table(returnedDouble double) external name 'orvxmlfn!qrkExtractDoubles'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDoubles(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedDouble double) external name 'orvxmlfn!qrkExtractDoublesFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDoubles(XMLVarchar, varchar(256))
  returns table(returnedDouble double) external name 'orvxmlfn!qrkExtractDoublesFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractReals(XMLFile, varchar(256))
  returns table(returnedReal real) external name 'orvxmlfn!qrkExtractReals'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractReals(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedReal real) external name 'orvxmlfn!qrkExtractRealsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractReals(XMLVarchar, varchar(256))
  returns table(returnedReal real) external name 'orvxmlfn!qrkExtractRealsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractIntegers(XMLFile, varchar(256))
  returns table(returnedInteger integer) external name 'orvxmlfn!qrkExtractIntegers'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractIntegers(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedInteger integer) external name 'orvxmlfn!qrkExtractIntegersFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractIntegers(XMLVarchar, varchar(256))
  returns table(returnedInteger integer) external name 'orvxmlfn!qrkExtractIntegersFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractSmallints(XMLFile, varchar(256))
  returns table(returnedSmallint smallint) external name 'orvxmlfn!qrkExtractSmallints'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractSmallints(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedSmallint smallint) external name 'orvxmlfn!qrkExtractSmallintsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractSmallints(XMLVarchar, varchar(256))
  returns table(returnedSmallint smallint) external name 'orvxmlfn!qrkExtractSmallintsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimes(XMLFile, varchar(256))
  returns table(returnedTime time) external name 'orvxmlfn!qrkExtractTimes'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimes(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedTime time) external name 'orvxmlfn!qrkExtractTimesFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimes(XMLVarchar, varchar(256))
  returns table(returnedTime time) external name 'orvxmlfn!qrkExtractTimesFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimestamps(XMLFile, varchar(256))
  returns table(returnedTimestamp timestamp) external name 'orvxmlfn!qrkExtractTimestamps'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimestamps(XMLCLOB as LOCATOR, varchar(256))
  returns table(returnedTimestamp timestamp) external name 'orvxmlfn!qrkExtractTimestampsFromClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimestamps(XMLVarchar, varchar(256))
  returns table(returnedTimestamp timestamp)
  external name 'orvxmlfn!qrkExtractTimestampsFromVarchar'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

-- Update of the elements or the attribute that a location path selects.
create function orvxml.update(XMLVarchar, varchar(256), varchar(256))
  returns orvxml.XMLVarchar cast from varchar(32672)
  specific UpdateXMLVarchar external name 'orvxmlfn!qrkUpdateXMLVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.update(XMLCLOB as LOCATOR, varchar(256), varchar(256))
  returns orvxml.XMLCLOB as LOCATOR specific UpdateXMLClob external name 'orvxmlfn!qrkUpdateXMLClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.update(XMLFile, varchar(256), varchar(256))
  returns orvxml.XMLFile specific UpdateXMLFile external name 'orvxmlfn!qrkUpdateXMLFile'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

-- Validation against a DTD file.
create function orvxml.validate(XMLFile, varchar(512), varchar(128))
  returns integer specific ValidateFile external name 'orvxmlfn!qrkValidateFile'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.validate(XMLVarchar, varchar(512), varchar(128))
  returns integer specific ValidateVarchar external name 'orvxmlfn!qrkValidateVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.validate(XMLCLOB as LOCATOR, varchar(512), varchar(128))
  returns integer specific ValidateClob external name 'orvxmlfn!qrkValidateClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.VARCHARTOVARCHAR(orvxml.XMLVARCHAR)
  returns varchar(32672) Source orvxml.varchar(orvxml.XMLVARCHAR);

-- Numbers the rows of one statement from 1.
create function orvxml.seqno() returns integer external name 'orvxmlfn!qrkSeqno' specific seqno
  not deterministic no external action language C not fenced parameter style ORVSQL no SQL
  scratchpad allow parallel DBINFO;

-- Validation against a schema file: what the triggers of an enabled column call where its mapping
-- names a schema in place of a DTD.
create function orvxml.validateschema(XMLFile, varchar(1024))
  returns integer specific ValidateSchemaFile external name 'orvxmlfn!qrkValidateSchemaFile'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.validateschema(XMLVarchar, varchar(1024))
  returns integer specific ValidateSchemaVarchar external name 'orvxmlfn!qrkValidateSchemaVarchar'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.validateschema(XMLCLOB as LOCATOR, varchar(1024))
  returns integer specific ValidateSchemaClob external name 'orvxmlfn!qrkValidateSchemaClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

-- Double-byte documents. A database whose code page has no double-byte types refuses the first
-- statement; it has everything else by then.
create distinct type orvxml.XMLDBCLOB as dbclob(10k);

create function orvxml.XMLDBCLOBFromFile(varchar(512))
  returns XMLDBCLOB external name 'orvxmlfn!xmlDBCLOB'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.Content(XMLDBCLOB as LOCATOR, varchar(512))
  returns varchar(512) specific orvxmlcontentdf external name 'orvxmlfn!qrkContent_dbclob2file'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractVarchar(XMLDBCLOB as LOCATOR, varchar(256))
  returns varchar(4000) external name 'orvxmlfn!qrkExtractVarcharFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDBClob(XMLDBCLOB as LOCATOR, varchar(256))
  returns dbclob(10k) external name 'orvxmlfn!qrkExtractClobFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDate(XMLDBCLOB as LOCATOR, varchar(256))
  returns date external name 'orvxmlfn!qrkExtractDateFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractDouble(XMLDBCLOB as LOCATOR, varchar(256))
  returns double external name 'orvxmlfn!qrkExtractDoubleFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractInteger(XMLDBCLOB as LOCATOR, varchar(256))
  returns integer external name 'orvxmlfn!qrkExtractIntegerFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTime(XMLDBCLOB as LOCATOR, varchar(256))
  returns time external name 'orvxmlfn!qrkExtractTimeFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractTimestamp(XMLDBCLOB as LOCATOR, varchar(256))
  returns timestamp external name 'orvxmlfn!qrkExtractTimestampFromDBClob'
  language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL
  no external action allow parallel DBINFO;

create function orvxml.extractVarchars(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedVarchar varchar(4000)) external name 'orvxmlfn!qrkExtractVarcharsFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDBClobs(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedClob dbclob(10k)) external name 'orvxmlfn!qrkExtractClobsFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDates(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedDate date) external name 'orvxmlfn!qrkExtractDatesFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractDoubles(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedDouble double) external name 'orvxmlfn!qrkExtractDoublesFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractIntegers(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedInteger integer) external name 'orvxmlfn!qrkExtractIntegersFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimes(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedTime time) external name 'orvxmlfn!qrkExtractTimesFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;

create function orvxml.extractTimestamps(XMLDBCLOB as LOCATOR, varchar(256))
  returns table(returnedTimestamp timestamp) external name 'orvxmlfn!qrkExtractTimestampsFromDBClob'
  language C parameter style ORVSQL not variant disallow parallel not fenced no SQL
  no external action scratchpad final call DBINFO;
