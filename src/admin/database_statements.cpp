#include "src/admin/database_statements.h"

#include <iterator>

namespace orvxml {

namespace {

constexpr char kStorage[] =
    " language C parameter style ORVSQL scratchpad final call not variant not fenced no sql"
    " no external action allow parallel DBINFO";
constexpr char kScalar[] =
    " language C parameter style ORVSQL scratchpad final call not variant not fenced no SQL"
    " no external action allow parallel DBINFO";
constexpr char kTable[] =
    " language C parameter style ORVSQL not variant disallow parallel not fenced no SQL"
    " no external action scratchpad final call DBINFO";
constexpr char kProcedure[] =
    " language C parameter style ORVDARI not deterministic fenced null call";

}  // namespace

const DatabaseStatement enableStmt[] = {
    {"SET CURRENT FUNCTION PATH = ORVXML, SYSNTQ, SYSFUN"},
    {"create distinct type orvxml.XMLVarchar as varchar(3000) with comparisons"},
    {"create distinct type orvxml.XMLCLOB as CLOB(2G)"},
    {"create distinct type orvxml.XMLFile as varchar(512) with comparisons"},
    // Documents from files into columns, and from columns into files.
    {"create function orvxml.XMLVarcharFromFile(varchar(512))"
     " returns XMLVarchar cast from varchar(32672)"
     " specific qrkVarChar external name 'orvxmlfn!qrkVarChar'",
     kStorage},
    {"create function orvxml.XMLVarcharFromFile(varchar(512), varchar(100))"
     " returns XMLVarchar cast from varchar(32672)"
     " specific qrkXMLVarcharFile2 external name 'orvxmlfn!qrkXMLVarcharFromFile2'",
     kStorage},
    {"create function orvxml.XMLCLOBFromFile(varchar(512)) returns XMLCLOB AS LOCATOR"
     " specific qrkCLOB external name 'orvxmlfn!qrkCLOB'",
     kStorage},
    {"create function orvxml.XMLCLOBFromFile(varchar(512), varchar(100))"
     " returns XMLCLOB AS LOCATOR"
     " specific qrkXMLCLOBFile2 external name 'orvxmlfn!qrkXMLCLOBFromFile2'",
     kStorage},
    {"create function orvxml.XMLFileFromVarchar(varchar(32672), varchar(512)) returns XMLFile"
     " specific qrkContentvar2file external name 'orvxmlfn!qrkContent_varchar2file'",
     kStorage},
    {"create function orvxml.XMLFileFromVarchar(varchar(32672), varchar(512), varchar(100))"
     " returns XMLFile"
     " specific qrkXMLFileVarchar2 external name 'orvxmlfn!qrkXMLFileFromVarchar2'",
     kStorage},
    {"create function orvxml.XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512)) returns XMLFile"
     " specific qrkFile external name 'orvxmlfn!qrkFile'",
     kStorage},
    {"create function orvxml.XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512), varchar(100))"
     " returns XMLFile"
     " specific qrkXMLFileCLOB2 external name 'orvxmlfn!qrkXMLFileFromClob2'",
     kStorage},
    {"create function orvxml.Content(XMLVarchar, varchar(512)) returns varchar(512)"
     " specific orvxmlcontentvf external name 'orvxmlfn!qrkContent_varchar2file'",
     kScalar},
    {"create function orvxml.Content(XMLVarchar, varchar(512), varchar(100))"
     " returns varchar(512)"
     " specific orvxmlcontentvf2 external name 'orvxmlfn!qrkXMLFileFromVarchar2'",
     kScalar},
    {"create function orvxml.Content(XMLCLOB as LOCATOR, varchar(512)) returns varchar(512)"
     " specific orvxmlcontentcf external name 'orvxmlfn!qrkFile'",
     kScalar},
    {"create function orvxml.Content(XMLCLOB as LOCATOR, varchar(512), varchar(100))"
     " returns varchar(512)"
     " specific orvxmlcontentcf2 external name 'orvxmlfn!qrkXMLFileFromClob2'",
     kScalar},
    {"create function orvxml.Content(XMLFile) returns XMLCLOB AS LOCATOR"
     " specific orvxmlcontentfc external name 'orvxmlfn!qrkCLOB'",
     kScalar},
    // The one value that a location path selects.
    {"create function orvxml.extractVarchar( XMLFile, varchar(256)) returns varchar(4000)"
     " external name 'orvxmlfn!qrkExtractVarchar'",
     kScalar},
    {"create function orvxml.extractVarchar( XMLCLOB as LOCATOR, varchar(256))"
     " returns varchar(4000) external name 'orvxmlfn!qrkExtractVarcharFromClob'",
     kScalar},
    {"create function orvxml.extractVarchar( XMLVarchar, varchar(256)) returns varchar(4000)"
     " external name 'orvxmlfn!qrkExtractVarcharFromVarchar'",
     kScalar},
    {"create function orvxml.extractChar( XMLFile, varchar(256)) returns char(254)"
     " external name 'orvxmlfn!qrkExtractChar'",
     kScalar},
    {"create function orvxml.extractChar( XMLCLOB as LOCATOR, varchar(256)) returns char(254)"
     " external name 'orvxmlfn!qrkExtractCharFromClob'",
     kScalar},
    {"create function orvxml.extractChar( XMLVarchar, varchar(256)) returns char(254)"
     " external name 'orvxmlfn!qrkExtractCharFromVarchar'",
     kScalar},
    {"create function orvxml.extractClob( XMLFile, varchar(256)) returns clob(2G) as locator"
     " external name 'orvxmlfn!qrkExtractClob'",
     kScalar},
    {"create function orvxml.extractClob( XMLCLOB as LOCATOR, varchar(256))"
     " returns clob(2G) as locator external name 'orvxmlfn!qrkExtractClobFromClob'",
     kScalar},
    {"create function orvxml.extractClob( XMLVarchar, varchar(256)) returns clob(2G) as locator"
     " external name 'orvxmlfn!qrkExtractClobFromVarchar'",
     kScalar},
    {"create function orvxml.extractDate( XMLFile, varchar(256)) returns date"
     " external name 'orvxmlfn!qrkExtractDate'",
     kScalar},
    {"create function orvxml.extractDate( XMLCLOB as LOCATOR, varchar(256)) returns date"
     " external name 'orvxmlfn!qrkExtractDateFromClob'",
     kScalar},
    {"create function orvxml.extractDate( XMLVarchar, varchar(256)) returns date"
     " external name 'orvxmlfn!qrkExtractDateFromVarchar'",
     kScalar},
    {"create function orvxml.extractDouble( XMLFile, varchar(256)) returns double"
     " external name 'orvxmlfn!qrkExtractDouble'",
     kScalar},
    {"create function orvxml.extractDouble( XMLCLOB as LOCATOR, varchar(256)) returns double"
     " external name 'orvxmlfn!qrkExtractDoubleFromClob'",
     kScalar},
    {"create function orvxml.extractDouble( XMLVarchar, varchar(256)) returns double"
     " external name 'orvxmlfn!qrkExtractDoubleFromVarchar'",
     kScalar},
    {"create function orvxml.extractReal( XMLFile, varchar(256)) returns real"
     " external name 'orvxmlfn!qrkExtractReal'",
     kScalar},
    {"create function orvxml.extractReal( XMLCLOB as LOCATOR, varchar(256)) returns real"
     " external name 'orvxmlfn!qrkExtractRealFromClob'",
     kScalar},
    {"create function orvxml.extractReal( XMLVarchar, varchar(256)) returns real"
     " external name 'orvxmlfn!qrkExtractRealFromVarchar'",
     kScalar},
    {"create function orvxml.extractInteger( XMLFile, varchar(256)) returns integer"
     " external name 'orvxmlfn!qrkExtractInteger'",
     kScalar},
    {"create function orvxml.extractInteger( XMLCLOB as LOCATOR, varchar(256)) returns integer"
     " external name 'orvxmlfn!qrkExtractIntegerFromClob'",
     kScalar},
    {"create function orvxml.extractInteger( XMLVarchar, varchar(256)) returns integer"
     " external name 'orvxmlfn!qrkExtractIntegerFromVarchar'",
     kScalar},
    {"create function orvxml.extractSmallint( XMLFile, varchar(256)) returns smallint"
     " external name 'orvxmlfn!qrkExtractSmallint'",
     kScalar},
    {"create function orvxml.extractSmallint( XMLCLOB as LOCATOR, varchar(256)) returns smallint"
     " external name 'orvxmlfn!qrkExtractSmallintFromClob'",
     kScalar},
    {"create function orvxml.extractSmallint( XMLVarchar, varchar(256)) returns smallint"
     " external name 'orvxmlfn!qrkExtractSmallintFromVarchar'",
     kScalar},
    {"create function orvxml.extractTime( XMLFile, varchar(256)) returns time"
     " external name 'orvxmlfn!qrkExtractTime'",
     kScalar},
    {"create function orvxml.extractTime( XMLCLOB as LOCATOR, varchar(256)) returns time"
     " external name 'orvxmlfn!qrkExtractTimeFromClob'",
     kScalar},
    {"create function orvxml.extractTime( XMLVarchar, varchar(256)) returns time"
     " external name 'orvxmlfn!qrkExtractTimeFromVarchar'",
     kScalar},
    {"create function orvxml.extractTimestamp( XMLFile, varchar(256)) returns timestamp"
     " external name 'orvxmlfn!qrkExtractTimestamp'",
     kScalar},
    {"create function orvxml.extractTimestamp( XMLCLOB as LOCATOR, varchar(256))"
     " returns timestamp external name 'orvxmlfn!qrkExtractTimestampFromClob'",
     kScalar},
    {"create function orvxml.extractTimestamp( XMLVarchar, varchar(256)) returns timestamp"
     " external name 'orvxmlfn!qrkExtractTimestampFromVarchar'",
     kScalar},
    // All values that a location path selects, a row each.
    {"create function orvxml.extractVarchars( XMLFile, varchar(256))"
     " returns table(returnedVarchar varchar(4000))"
     " external name 'orvxmlfn!qrkExtractVarchars'",
     kTable},
    {"create function orvxml.extractVarchars( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedVarchar varchar(4000))"
     " external name 'orvxmlfn!qrkExtractVarcharsFromClob'",
     kTable},
    {"create function orvxml.extractVarchars( XMLVarchar, varchar(256))"
     " returns table(returnedVarchar varchar(4000))"
     " external name 'orvxmlfn!qrkExtractVarcharsFromVarchar'",
     kTable},
    {"create function orvxml.extractChars( XMLFile, varchar(256))"
     " returns table(returnedChar char(254)) external name 'orvxmlfn!qrkExtractChars'",
     kTable},
    {"create function orvxml.extractChars( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedChar char(254))"
     " external name 'orvxmlfn!qrkExtractCharsFromClob'",
     kTable},
    {"create function orvxml.extractChars( XMLVarchar, varchar(256))"
     " returns table(returnedChar char(254))"
     " external name 'orvxmlfn!qrkExtractCharsFromVarchar'",
     kTable},
    {"create function orvxml.extractClobs( XMLFile, varchar(256))"
     " returns table(returnedClob clob(1G) as locator)"
     " external name 'orvxmlfn!qrkExtractClobs'",
     kTable},
    {"create function orvxml.extractClobs( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedClob clob(1G) as locator)"
     " external name 'orvxmlfn!qrkExtractClobsFromClob'",
     kTable},
    {"create function orvxml.extractClobs( XMLVarchar, varchar(256))"
     " returns table(returnedClob clob(1G) as locator)"
     " external name 'orvxmlfn!qrkExtractClobsFromVarchar'",
     kTable},
    {"create function orvxml.extractDates( XMLFile, varchar(256))"
     " returns table(returnedDate date) external name 'orvxmlfn!qrkExtractDates'",
     kTable},
    {"create function orvxml.extractDates( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedDate date)"
     " external name 'orvxmlfn!qrkExtractDatesFromClob'",
     kTable},
    {"create function orvxml.extractDates( XMLVarchar, varchar(256))"
     " returns table(returnedDate date)"
     " external name 'orvxmlfn!qrkExtractDatesFromVarchar'",
     kTable},
    {"create function orvxml.extractDoubles( XMLFile, varchar(256))"
     " returns table(returnedDouble double) external name 'orvxmlfn!qrkExtractDoubles'",
     kTable},
    {"create function orvxml.extractDoubles( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedDouble double)"
     " external name 'orvxmlfn!qrkExtractDoublesFromClob'",
     kTable},
    {"create function orvxml.extractDoubles( XMLVarchar, varchar(256))"
     " returns table(returnedDouble double)"
     " external name 'orvxmlfn!qrkExtractDoublesFromVarchar'",
     kTable},
    {"create function orvxml.extractReals( XMLFile, varchar(256))"
     " returns table(returnedReal real) external name 'orvxmlfn!qrkExtractReals'",
     kTable},
    {"create function orvxml.extractReals( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedReal real)"
     " external name 'orvxmlfn!qrkExtractRealsFromClob'",
     kTable},
    {"create function orvxml.extractReals( XMLVarchar, varchar(256))"
     " returns table(returnedReal real)"
     " external name 'orvxmlfn!qrkExtractRealsFromVarchar'",
     kTable},
    {"create function orvxml.extractIntegers( XMLFile, varchar(256))"
     " returns table(returnedInteger integer)"
     " external name 'orvxmlfn!qrkExtractIntegers'",
     kTable},
    {"create function orvxml.extractIntegers( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedInteger integer)"
     " external name 'orvxmlfn!qrkExtractIntegersFromClob'",
     kTable},
    {"create function orvxml.extractIntegers( XMLVarchar, varchar(256))"
     " returns table(returnedInteger integer)"
     " external name 'orvxmlfn!qrkExtractIntegersFromVarchar'",
     kTable},
    {"create function orvxml.extractSmallints( XMLFile, varchar(256))"
     " returns table(returnedSmallint smallint)"
     " external name 'orvxmlfn!qrkExtractSmallints'",
     kTable},
    {"create function orvxml.extractSmallints( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedSmallint smallint)"
     " external name 'orvxmlfn!qrkExtractSmallintsFromClob'",
     kTable},
    {"create function orvxml.extractSmallints( XMLVarchar, varchar(256))"
     " returns table(returnedSmallint smallint)"
     " external name 'orvxmlfn!qrkExtractSmallintsFromVarchar'",
     kTable},
    {"create function orvxml.extractTimes( XMLFile, varchar(256))"
     " returns table(returnedTime time) external name 'orvxmlfn!qrkExtractTimes'",
     kTable},
    {"create function orvxml.extractTimes( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedTime time)"
     " external name 'orvxmlfn!qrkExtractTimesFromClob'",
     kTable},
    {"create function orvxml.extractTimes( XMLVarchar, varchar(256))"
     " returns table(returnedTime time)"
     " external name 'orvxmlfn!qrkExtractTimesFromVarchar'",
     kTable},
    {"create function orvxml.extractTimestamps( XMLFile, varchar(256))"
     " returns table(returnedTimestamp timestamp)"
     " external name 'orvxmlfn!qrkExtractTimestamps'",
     kTable},
    {"create function orvxml.extractTimestamps( XMLCLOB as LOCATOR, varchar(256))"
     " returns table(returnedTimestamp timestamp)"
     " external name 'orvxmlfn!qrkExtractTimestampsFromClob'",
     kTable},
    {"create function orvxml.extractTimestamps( XMLVarchar, varchar(256))"
     " returns table(returnedTimestamp timestamp)"
     " external name 'orvxmlfn!qrkExtractTimestampsFromVarchar'",
     kTable},
    // The administrative tables; their table space is appended.
    {"create table orvxml.dtd_ref ( dtdid varchar(128) not null,"
     " content orvxml.XMLCLOB not null not logged, usage_count int not null,"
     " author varchar(128), creator varchar(128), updator varchar(128),"
     " constraint dtd_ref_pk primary key (dtdid))"},
    {"grant select on orvxml.dtd_ref to public"},
    {"grant insert on orvxml.dtd_ref to public"},
    {"grant delete on orvxml.dtd_ref to public"},
    {"grant update on orvxml.dtd_ref to public"},
    {"create table orvxml.xml_usage ( table_schema char(31) not null,"
     " table_name char(129) not null, col_name char(31) not null,"
     " dtdid varchar(128), DAD clob(100k), access_mode int not null, validation int not null,"
     " default_view char(128), trigger_suffix char(8) not null,"
     " constraint xml_col_pk primary key (table_schema, table_name,col_name),"
     " constraint xml_col_fk foreign key (dtdid) references orvxml.dtd_ref (dtdid))"},
    {"grant select on orvxml.xml_usage to public"},
    {"grant insert on orvxml.xml_usage to ORVXML"},
    {"grant delete on orvxml.xml_usage to ORVXML"},
    {"grant update on orvxml.xml_usage to ORVXML"},
    // A DTD that is in use stays as it is.
    {"create trigger orvxml.dtdref_delete"
     " no cascade before delete on orvxml.dtd_ref referencing old as oldrow"
     " for each row mode orvsql when ( oldrow.usage_count > 0 )"
     " signal sqlstate '70010' ('This DTD is used by others.')"},
    {"create trigger orvxml.dtdref_update"
     " no cascade before update on orvxml.dtd_ref referencing old as oldrow new as newrow"
     " for each row mode orvsql when ( ( ((newrow.usage_count - oldrow.usage_count) != 1)"
     " AND ((newrow.usage_count - oldrow.usage_count) != -1))"
     " OR ((newrow.usage_count = oldrow.usage_count) AND (oldrow.usage_count > 0 )) )"
     " signal sqlstate '70010'('Illegal update on DTD or its usage count.')"},
    {"create trigger orvxml.dtdref_insert"
     " no cascade before insert on orvxml.dtd_ref referencing new as newrow"
     " for each row mode orvsql when ( newrow.usage_count != 0 )"
     " signal sqlstate '70010' ('The usage_count must be 0 when inserted.')"},
    // Update and validation of stored documents.
    {"create function orvxml.update( XMLVarchar, varchar(256), varchar(256))"
     " returns orvxml.XMLVarchar cast from varchar(32672)"
     " specific UpdateXMLVarchar external name 'orvxmlfn!qrkUpdateXMLVarchar'",
     kStorage},
    {"create function orvxml.update( XMLCLOB as LOCATOR, varchar(256), varchar(256))"
     " returns orvxml.XMLCLOB as LOCATOR"
     " specific UpdateXMLClob external name 'orvxmlfn!qrkUpdateXMLClob'",
     kStorage},
    {"create function orvxml.update( XMLFile, varchar(256), varchar(256)) returns orvxml.XMLFile"
     " specific UpdateXMLFile external name 'orvxmlfn!qrkUpdateXMLFile'",
     kStorage},
    {"create function orvxml.validate( XMLFile, varchar(512), varchar(128)) returns integer"
     " specific ValidateFile external name 'orvxmlfn!qrkValidateFile'",
     kStorage},
    {"create function orvxml.validate( XMLVarchar, varchar(512), varchar(128)) returns integer"
     " specific ValidateVarchar external name 'orvxmlfn!qrkValidateVarchar'",
     kStorage},
    {"create function orvxml.validate( XMLCLOB as LOCATOR, varchar(512), varchar(128))"
     " returns integer"
     " specific ValidateClob external name 'orvxmlfn!qrkValidateClob'",
     kStorage},
    {"create function orvxml.VARCHARTOVARCHAR( orvxml.XMLVARCHAR) returns varchar(32672)"
     " Source orvxml.varchar(orvxml.XMLVARCHAR)"},
    {"create function orvxml.seqno() returns integer external name 'orvxmlfn!qrkSeqno'"
     " specific seqno not deterministic no external action language C not fenced"
     " parameter style ORVSQL no SQL scratchpad allow parallel DBINFO"},
    // The stored procedures.
    {"create procedure orvxml.qrkEnableColumn(in dbName varchar(18),"
     " in tableName varchar(128), in columnName varchar(128),"
     " in dadBuf clob(100K), in tableSpace varchar(128),"
     " in defaultView varchar(128), in rootID varchar(128),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkEnableColumn'",
     kProcedure},
    {"create procedure orvxml.qrkDisableColumn(in dbName varchar(18),"
     " in tableName varchar(128), in columnName varchar(128),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkDisableColumn'",
     kProcedure},
    {"create procedure orvxml.qrkEnableCollection(in dbName varchar(18),"
     " in collectionName varchar(128), in dadBuf clob(100K), in tableSpace varchar(128),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkEnableColl'",
     kProcedure},
    {"create procedure orvxml.qrkDisableCollection(in dbName varchar(18),"
     " in collectionName varchar(128), out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkDisableColl'",
     kProcedure},
    {"create procedure orvxml.qrkDisableDB(in dbName varchar(18),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkDisableDB'",
     kProcedure},
    {"create procedure orvxml.qrkGenXML(in dadBuf clob(100K), in resultTable varchar(128),"
     " in overrideType integer, in override varchar(32672), in maxRows integer,"
     " out numRows integer, out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkGenXML' specific ORVXML.QRKGENXML1",
     kProcedure},
    {"create procedure orvxml.qrkGenXML(in dadBuf clob(100K), in resultTable varchar(128),"
     " in resultColumn varchar(128), in validColumn varchar(128),"
     " in overrideType integer, in override varchar(32672), in maxRows integer,"
     " out numRows integer, out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkGenXML2' specific ORVXML.QRKGENXML2",
     kProcedure},
    {"create procedure orvxml.qrkGenXMLClob(in dadBuf clob(100K),"
     " in overrideType integer, in override varchar(32672),"
     " out resultDoc clob(1M), out valid integer, out numDocs integer,"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkGenXMLClob' specific ORVXML.QRKGENXMLCLOB",
     kProcedure},
    {"create procedure orvxml.qrkRetrieveXMLClob(in collectionName varchar(128),"
     " in overrideType integer, in override varchar(32672),"
     " out resultDoc clob(1M), out valid integer, out numDocs integer,"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkRetrieveXMLClob' specific ORVXML.QRKRETRIEVEXMLCLOB",
     kProcedure},
    {"create procedure orvxml.qrkShredXML(in dadBuf clob(100K), in XMLObj clob(1M),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkShredXML'",
     kProcedure},
    {"create procedure orvxml.qrkRetrieveXML(in collectionName varchar(128),"
     " in resultTable varchar(128),"
     " in overrideType integer, in override varchar(32672), in maxRows integer,"
     " out numRows integer, out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkRetrieveXML' specific ORVXML.QRKRETRIEVEXML1",
     kProcedure},
    {"create procedure orvxml.qrkRetrieveXML(in collectionName varchar(128),"
     " in resultTable varchar(128), in resultColumn varchar(128), in validColumn varchar(128),"
     " in overrideType integer, in override varchar(32672), in maxRows integer,"
     " out numRows integer, out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkRetrieveXML2' specific ORVXML.QRKRETRIEVEXML2",
     kProcedure},
    {"create procedure orvxml.qrkInsertXML(in collectionName varchar(128), in XMLObj clob(1M),"
     " out returnCode integer, out returnMsg varchar(1024))"
     " external name 'orvxml!qrkInsertXML'",
     kProcedure},
};

const DatabaseStatement enableStmtDB[] = {
    {"create distinct type orvxml.XMLDBCLOB as dbclob(10k)"},
    {"create function orvxml.XMLDBCLOBFromFile(varchar(512)) returns XMLDBCLOB"
     " external name 'orvxmlfn!xmlDBCLOB'",
     kStorage},
    {"create function orvxml.Content(XMLDBCLOB as LOCATOR, varchar(512)) returns varchar(512)"
     " specific orvxmlcontentdf external name 'orvxmlfn!qrkContent_dbclob2file'",
     kScalar},
    {"create function orvxml.extractVarchar( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns varchar(4000) external name 'orvxmlfn!qrkExtractVarcharFromDBClob'",
     kScalar},
    {"create function orvxml.extractDBClob( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns dbclob(10k) external name 'orvxmlfn!qrkExtractClobFromDBClob'",
     kScalar},
    {"create function orvxml.extractDate( XMLDBCLOB as LOCATOR, varchar(256)) returns date"
     " external name 'orvxmlfn!qrkExtractDateFromDBClob'",
     kScalar},
    {"create function orvxml.extractDouble( XMLDBCLOB as LOCATOR, varchar(256)) returns double"
     " external name 'orvxmlfn!qrkExtractDoubleFromDBClob'",
     kScalar},
    {"create function orvxml.extractInteger( XMLDBCLOB as LOCATOR, varchar(256)) returns integer"
     " external name 'orvxmlfn!qrkExtractIntegerFromDBClob'",
     kScalar},
    {"create function orvxml.extractTime( XMLDBCLOB as LOCATOR, varchar(256)) returns time"
     " external name 'orvxmlfn!qrkExtractTimeFromDBClob'",
     kScalar},
    {"create function orvxml.extractTimestamp( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns timestamp external name 'orvxmlfn!qrkExtractTimestampFromDBClob'",
     kScalar},
    {"create function orvxml.extractVarchars( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedVarchar varchar(4000))"
     " external name 'orvxmlfn!qrkExtractVarcharsFromDBClob'",
     kTable},
    {"create function orvxml.extractDBClobs( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedClob dbclob(10k))"
     " external name 'orvxmlfn!qrkExtractClobsFromDBClob'",
     kTable},
    {"create function orvxml.extractDates( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedDate date)"
     " external name 'orvxmlfn!qrkExtractDatesFromDBClob'",
     kTable},
    {"create function orvxml.extractDoubles( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedDouble double)"
     " external name 'orvxmlfn!qrkExtractDoublesFromDBClob'",
     kTable},
    {"create function orvxml.extractIntegers( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedInteger integer)"
     " external name 'orvxmlfn!qrkExtractIntegersFromDBClob'",
     kTable},
    {"create function orvxml.extractTimes( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedTime time)"
     " external name 'orvxmlfn!qrkExtractTimesFromDBClob'",
     kTable},
    {"create function orvxml.extractTimestamps( XMLDBCLOB as LOCATOR, varchar(256))"
     " returns table(returnedTimestamp timestamp)"
     " external name 'orvxmlfn!qrkExtractTimestampsFromDBClob'",
     kTable},
};

const DatabaseStatement disableStmt[] = {
    {"drop specific function orvxml.ValidateFile"},
    {"drop specific function orvxml.ValidateVarchar"},
    {"drop specific function orvxml.ValidateClob"},
    {"drop specific function orvxml.UpdateXMLVarchar"},
    {"drop specific function orvxml.UpdateXMLClob"},
    {"drop specific function orvxml.UpdateXMLFile"},
    {"drop function orvxml.extractVarchar(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractVarchar(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractVarchar(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractVarchars(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractVarchars(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractVarchars(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractClob(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractClob(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractClob(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractClobs(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractClobs(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractClobs(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractDate(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractDate(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDate(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractDates(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractDates(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDates(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractDouble(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractDouble(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDouble(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractDoubles(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractDoubles(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDoubles(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractInteger(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractInteger(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractInteger(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractIntegers(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractIntegers(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractIntegers(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractTime(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractTime(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTime(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractTimes(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractTimes(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimes(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractTimestamp(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractTimestamp(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimestamp(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractTimestamps(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractTimestamps(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimestamps(orvxml.XMLVarchar, varchar(256))"},
    {"drop specific function orvxml.orvxmlcontentvf"},
    {"drop specific function orvxml.orvxmlcontentvf2"},
    {"drop specific function orvxml.orvxmlcontentcf"},
    {"drop specific function orvxml.orvxmlcontentcf2"},
    {"drop specific function orvxml.orvxmlcontentfc"},
    {"drop specific function orvxml.qrkVarchar"},
    {"drop specific function orvxml.qrkXMLVarcharFile2"},
    {"drop specific function orvxml.qrkCLOB"},
    {"drop specific function orvxml.qrkXMLCLOBFile2"},
    {"drop specific function orvxml.qrkFile"},
    {"drop specific function orvxml.qrkXMLFileCLOB2"},
    {"drop specific function orvxml.qrkContentvar2file"},
    {"drop specific function orvxml.qrkXMLFileVarchar2"},
    {"drop function orvxml.seqno"},
    {"drop trigger orvxml.dtdref_delete"},
    {"drop trigger orvxml.dtdref_update"},
    {"drop trigger orvxml.dtdref_insert"},
    {"drop table orvxml.dtd_ref"},
    {"drop table orvxml.xml_usage"},
    {"drop procedure orvxml.qrkEnableColumn"},
    {"drop procedure orvxml.qrkDisableColumn"},
    {"drop procedure orvxml.qrkEnableCollection"},
    {"drop procedure orvxml.qrkDisableCollection"},
    {"drop procedure orvxml.qrkDisableDB"},
    {"drop specific procedure orvxml.qrkGenXML1"},
    {"drop specific procedure orvxml.qrkGenXML2"},
    {"drop specific procedure orvxml.qrkGenXMLClob"},
    {"drop procedure orvxml.qrkShredXML"},
    {"drop specific procedure orvxml.qrkRetrieveXML1"},
    {"drop specific procedure orvxml.qrkRetrieveXML2"},
    {"drop specific procedure orvxml.qrkRetrieveXMLClob"},
    {"drop procedure orvxml.qrkInsertXML"},
    {"drop function orvxml.extractChar(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractChar(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractChar(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractChars(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractChars(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractChars(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractSmallint(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractSmallint(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractSmallint(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractSmallints(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractSmallints(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractSmallints(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractReal(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractReal(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractReal(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.extractReals(orvxml.XMLFile, varchar(256))"},
    {"drop function orvxml.extractReals(orvxml.XMLCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractReals(orvxml.XMLVarchar, varchar(256))"},
    {"drop function orvxml.VARCHARTOVARCHAR(orvxml.XMLVARCHAR)"},
    {"drop distinct type orvxml.XMLFile"},
};

const DatabaseStatement disableStmtDB[] = {
    {"drop function orvxml.extractVarchar(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractVarchars(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDBClob(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDBClobs(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDate(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDates(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDouble(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractDoubles(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractInteger(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractIntegers(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTime(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimes(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimestamp(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.extractTimestamps(orvxml.XMLDBCLOB as LOCATOR, varchar(256))"},
    {"drop function orvxml.XMLDBCLOBFromFile"},
    {"drop specific function orvxml.orvxmlcontentdf"},
    {"drop distinct type orvxml.XMLDBCLOB"},
};

const DatabaseStatement enableStmtSchema[] = {
    {"create function orvxml.validateschema( XMLFile, varchar(1024)) returns integer"
     " specific ValidateSchemaFile external name 'orvxmlfn!qrkValidateSchemaFile'",
     kStorage},
    {"create function orvxml.validateschema( XMLVarchar, varchar(1024)) returns integer"
     " specific ValidateSchemaVarchar external name 'orvxmlfn!qrkValidateSchemaVarchar'",
     kStorage},
    {"create function orvxml.validateschema( XMLCLOB as LOCATOR, varchar(1024)) returns integer"
     " specific ValidateSchemaClob external name 'orvxmlfn!qrkValidateSchemaClob'",
     kStorage},
};

const DatabaseStatement disableStmtSchema[] = {
    {"drop specific function orvxml.ValidateSchemaFile"},
    {"drop specific function orvxml.ValidateSchemaVarchar"},
    {"drop specific function orvxml.ValidateSchemaClob"},
};

// A definition of another size than its declaration does not compile; this is for the reader.
static_assert(std::size(enableStmt) == 111 && std::size(disableStmt) == 100);
static_assert(std::size(enableStmtDB) == 17 && std::size(disableStmtDB) == 17);

}  // namespace orvxml
