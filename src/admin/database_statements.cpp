#include "src/admin/database_statements.h"

#include <span>

namespace orvxml {

namespace {

// Of functions on whole documents and of those that take a value out of one. They differ in the
// case of "SQL" alone.
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

void append(StatementList& list, std::span<const char* const> statements) {
  for (const char* statement : statements) list.emplace_back(statement);
}

// ---------------------------------------------------------------- whole documents

struct Function {
  const char* signature;
  const char* result;
  const char* specific;  // empty: none is given
  const char* entry;
};

// Documents from files into columns, and from columns into files.
constexpr Function kFileFunctions[] = {
    {"XMLVarcharFromFile(varchar(512))", "XMLVarchar cast from varchar(32672)", "qrkVarChar",
     "qrkVarChar"},
    {"XMLVarcharFromFile(varchar(512), varchar(100))", "XMLVarchar cast from varchar(32672)",
     "qrkXMLVarcharFile2", "qrkXMLVarcharFromFile2"},
    {"XMLCLOBFromFile(varchar(512))", "XMLCLOB AS LOCATOR", "qrkCLOB", "qrkCLOB"},
    {"XMLCLOBFromFile(varchar(512), varchar(100))", "XMLCLOB AS LOCATOR", "qrkXMLCLOBFile2",
     "qrkXMLCLOBFromFile2"},
    {"XMLFileFromVarchar(varchar(32672), varchar(512))", "XMLFile", "qrkContentvar2file",
     "qrkContent_varchar2file"},
    {"XMLFileFromVarchar(varchar(32672), varchar(512), varchar(100))", "XMLFile",
     "qrkXMLFileVarchar2", "qrkXMLFileFromVarchar2"},
    {"XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512))", "XMLFile", "qrkFile", "qrkFile"},
    {"XMLFileFromCLOB(CLOB(2G) as LOCATOR, varchar(512), varchar(100))", "XMLFile",
     "qrkXMLFileCLOB2", "qrkXMLFileFromClob2"},
};
constexpr Function kContentFunctions[] = {
    {"Content(XMLVarchar, varchar(512))", "varchar(512)", "orvxmlcontentvf",
     "qrkContent_varchar2file"},
    {"Content(XMLVarchar, varchar(512), varchar(100))", "varchar(512)", "orvxmlcontentvf2",
     "qrkXMLFileFromVarchar2"},
    {"Content(XMLCLOB as LOCATOR, varchar(512))", "varchar(512)", "orvxmlcontentcf", "qrkFile"},
    {"Content(XMLCLOB as LOCATOR, varchar(512), varchar(100))", "varchar(512)", "orvxmlcontentcf2",
     "qrkXMLFileFromClob2"},
    {"Content(XMLFile)", "XMLCLOB AS LOCATOR", "orvxmlcontentfc", "qrkCLOB"},
};
constexpr Function kUpdateAndValidate[] = {
    {"update( XMLVarchar, varchar(256), varchar(256))",
     "orvxml.XMLVarchar cast from varchar(32672)", "UpdateXMLVarchar", "qrkUpdateXMLVarchar"},
    {"update( XMLCLOB as LOCATOR, varchar(256), varchar(256))", "orvxml.XMLCLOB as LOCATOR",
     "UpdateXMLClob", "qrkUpdateXMLClob"},
    {"update( XMLFile, varchar(256), varchar(256))", "orvxml.XMLFile", "UpdateXMLFile",
     "qrkUpdateXMLFile"},
    {"validate( XMLFile, varchar(512), varchar(128))", "integer", "ValidateFile",
     "qrkValidateFile"},
    {"validate( XMLVarchar, varchar(512), varchar(128))", "integer", "ValidateVarchar",
     "qrkValidateVarchar"},
    {"validate( XMLCLOB as LOCATOR, varchar(512), varchar(128))", "integer", "ValidateClob",
     "qrkValidateClob"},
};
constexpr Function kDoubleByteFile[] = {
    {"XMLDBCLOBFromFile(varchar(512))", "XMLDBCLOB", "", "xmlDBCLOB"},
};
constexpr Function kDoubleByteContent[] = {
    {"Content(XMLDBCLOB as LOCATOR, varchar(512))", "varchar(512)", "orvxmlcontentdf",
     "qrkContent_dbclob2file"},
};
constexpr Function kSchemaFunctions[] = {
    {"validateschema( XMLFile, varchar(1024))", "integer", "ValidateSchemaFile",
     "qrkValidateSchemaFile"},
    {"validateschema( XMLVarchar, varchar(1024))", "integer", "ValidateSchemaVarchar",
     "qrkValidateSchemaVarchar"},
    {"validateschema( XMLCLOB as LOCATOR, varchar(1024))", "integer", "ValidateSchemaClob",
     "qrkValidateSchemaClob"},
};

void create(StatementList& list, std::span<const Function> functions, const char* attributes) {
  for (const Function& function : functions) {
    std::string text = "create function orvxml.";
    text.append(function.signature).append(" returns ").append(function.result);
    if (*function.specific) text.append(" specific ").append(function.specific);
    text.append(" external name 'orvxmlfn!").append(function.entry).append("'");
    list.push_back(text.append(attributes));
  }
}

void dropSpecific(StatementList& list, std::span<const char* const> functions) {
  for (const char* function : functions) {
    list.push_back(std::string("drop specific function orvxml.") + function);
  }
}

// ---------------------------------------------------------------- values of documents

struct DocumentType {
  const char* argument;
  const char* suffix;  // of the entry points
};
constexpr DocumentType kDocumentTypes[] = {
    {"XMLFile", ""}, {"XMLCLOB as LOCATOR", "FromClob"}, {"XMLVarchar", "FromVarchar"}};
constexpr DocumentType kDoubleByteType[] = {{"XMLDBCLOB as LOCATOR", "FromDBClob"}};

struct ValueType {
  const char* word;
  const char* result;
  const char* rowResult;  // of the table function
  const char* rowWord;    // of the table function's column and of the entry points
};
constexpr ValueType valueType(const char* word, const char* result) {
  return {word, result, result, word};
}
constexpr ValueType kVarchar = valueType("Varchar", "varchar(4000)");
constexpr ValueType kChar = valueType("Char", "char(254)");
constexpr ValueType kClob = {"Clob", "clob(2G) as locator", "clob(1G) as locator", "Clob"};
constexpr ValueType kDate = valueType("Date", "date");
constexpr ValueType kDouble = valueType("Double", "double");
constexpr ValueType kReal = valueType("Real", "real");
constexpr ValueType kInteger = valueType("Integer", "integer");
constexpr ValueType kSmallint = valueType("Smallint", "smallint");
constexpr ValueType kTime = valueType("Time", "time");
constexpr ValueType kTimestamp = valueType("Timestamp", "timestamp");
constexpr ValueType kDbClob = {"DBClob", "dbclob(10k)", "dbclob(10k)", "Clob"};

constexpr ValueType kCreated[] = {kVarchar, kChar,    kClob,     kDate, kDouble,
                                  kReal,    kInteger, kSmallint, kTime, kTimestamp};
constexpr ValueType kDroppedFirst[] = {kVarchar, kClob, kDate,     kDouble,
                                       kInteger, kTime, kTimestamp};
constexpr ValueType kDroppedLast[] = {kChar, kSmallint, kReal};
constexpr ValueType kDoubleByte[] = {kVarchar, kDbClob, kDate,     kDouble,
                                     kInteger, kTime,   kTimestamp};

// The one value that a location path selects.
void createScalars(StatementList& list, std::span<const ValueType> values,
                   std::span<const DocumentType> documents) {
  for (const ValueType& value : values) {
    for (const DocumentType& document : documents) {
      list.push_back(std::string("create function orvxml.extract") + value.word + "( " +
                     document.argument + ", varchar(256)) returns " + value.result +
                     " external name 'orvxmlfn!qrkExtract" + value.rowWord + document.suffix + "'" +
                     kScalar);
    }
  }
}

// All values that it selects, a row each.
void createTableFunctions(StatementList& list, std::span<const ValueType> values,
                          std::span<const DocumentType> documents) {
  for (const ValueType& value : values) {
    for (const DocumentType& document : documents) {
      list.push_back(std::string("create function orvxml.extract") + value.word + "s( " +
                     document.argument + ", varchar(256)) returns table(returned" + value.rowWord +
                     ' ' + value.rowResult + ") external name 'orvxmlfn!qrkExtract" +
                     value.rowWord + "s" + document.suffix + "'" + kTable);
    }
  }
}

void dropExtractions(StatementList& list, std::span<const ValueType> values,
                     std::span<const DocumentType> documents) {
  for (const ValueType& value : values) {
    for (const char* plural : {"", "s"}) {
      for (const DocumentType& document : documents) {
        list.push_back(std::string("drop function orvxml.extract") + value.word + plural +
                       "(orvxml." + document.argument + ", varchar(256))");
      }
    }
  }
}

// ---------------------------------------------------------------- tables and triggers

// The tables' table spaces are appended.
constexpr const char* kTables[] = {
    "create table orvxml.dtd_ref ( dtdid varchar(128) not null,"
    " content orvxml.XMLCLOB not null not logged, usage_count int not null,"
    " author varchar(128), creator varchar(128), updator varchar(128),"
    " constraint dtd_ref_pk primary key (dtdid))",
    "grant select on orvxml.dtd_ref to public",
    "grant insert on orvxml.dtd_ref to public",
    "grant delete on orvxml.dtd_ref to public",
    "grant update on orvxml.dtd_ref to public",
    "create table orvxml.xml_usage ( table_schema char(31) not null,"
    " table_name char(129) not null, col_name char(31) not null,"
    " dtdid varchar(128), DAD clob(100k), access_mode int not null, validation int not null,"
    " default_view char(128), trigger_suffix char(8) not null,"
    " constraint xml_col_pk primary key (table_schema, table_name,col_name),"
    " constraint xml_col_fk foreign key (dtdid) references orvxml.dtd_ref (dtdid))",
    "grant select on orvxml.xml_usage to public",
    "grant insert on orvxml.xml_usage to ORVXML",
    "grant delete on orvxml.xml_usage to ORVXML",
    "grant update on orvxml.xml_usage to ORVXML",
    // A DTD that is in use stays as it is.
    "create trigger orvxml.dtdref_delete"
    " no cascade before delete on orvxml.dtd_ref referencing old as oldrow"
    " for each row mode orvsql when ( oldrow.usage_count > 0 )"
    " signal sqlstate '70010' ('This DTD is used by others.')",
    "create trigger orvxml.dtdref_update"
    " no cascade before update on orvxml.dtd_ref referencing old as oldrow new as newrow"
    " for each row mode orvsql when ( ( ((newrow.usage_count - oldrow.usage_count) != 1)"
    " AND ((newrow.usage_count - oldrow.usage_count) != -1))"
    " OR ((newrow.usage_count = oldrow.usage_count) AND (oldrow.usage_count > 0 )) )"
    " signal sqlstate '70010'('Illegal update on DTD or its usage count.')",
    "create trigger orvxml.dtdref_insert"
    " no cascade before insert on orvxml.dtd_ref referencing new as newrow"
    " for each row mode orvsql when ( newrow.usage_count != 0 )"
    " signal sqlstate '70010' ('The usage_count must be 0 when inserted.')",
};

// ---------------------------------------------------------------- procedures

struct Procedure {
  const char* name;
  const char* parameters;  // in front of code and message
  const char* entry;
  const char* specific;  // empty: none is given
};

#define OVERRIDE "in overrideType integer, in override varchar(32672), "
#define ONE_DOCUMENT "out resultDoc clob(1M), out valid integer, out numDocs integer, "
#define ROWS "in maxRows integer, out numRows integer, "
#define RESULT_TABLE "in resultTable varchar(128), "
#define RESULT_COLUMNS "in resultColumn varchar(128), in validColumn varchar(128), "

constexpr Procedure kProcedures[] = {
    {"qrkEnableColumn",
     "in dbName varchar(18), in tableName varchar(128), in columnName varchar(128),"
     " in dadBuf clob(100K), in tableSpace varchar(128), in defaultView varchar(128),"
     " in rootID varchar(128), ",
     "qrkEnableColumn", ""},
    {"qrkDisableColumn",
     "in dbName varchar(18), in tableName varchar(128), in columnName varchar(128), ",
     "qrkDisableColumn", ""},
    {"qrkEnableCollection",
     "in dbName varchar(18), in collectionName varchar(128), in dadBuf clob(100K),"
     " in tableSpace varchar(128), ",
     "qrkEnableColl", ""},
    {"qrkDisableCollection", "in dbName varchar(18), in collectionName varchar(128), ",
     "qrkDisableColl", ""},
    {"qrkDisableDB", "in dbName varchar(18), ", "qrkDisableDB", ""},
    {"qrkGenXML", "in dadBuf clob(100K), " RESULT_TABLE OVERRIDE ROWS, "qrkGenXML", "QRKGENXML1"},
    {"qrkGenXML", "in dadBuf clob(100K), " RESULT_TABLE RESULT_COLUMNS OVERRIDE ROWS, "qrkGenXML2",
     "QRKGENXML2"},
    {"qrkGenXMLClob", "in dadBuf clob(100K), " OVERRIDE ONE_DOCUMENT, "qrkGenXMLClob",
     "QRKGENXMLCLOB"},
    {"qrkRetrieveXMLClob", "in collectionName varchar(128), " OVERRIDE ONE_DOCUMENT,
     "qrkRetrieveXMLClob", "QRKRETRIEVEXMLCLOB"},
    {"qrkShredXML", "in dadBuf clob(100K), in XMLObj clob(1M), ", "qrkShredXML", ""},
    {"qrkRetrieveXML", "in collectionName varchar(128), " RESULT_TABLE OVERRIDE ROWS,
     "qrkRetrieveXML", "QRKRETRIEVEXML1"},
    {"qrkRetrieveXML", "in collectionName varchar(128), " RESULT_TABLE RESULT_COLUMNS OVERRIDE ROWS,
     "qrkRetrieveXML2", "QRKRETRIEVEXML2"},
    {"qrkInsertXML", "in collectionName varchar(128), in XMLObj clob(1M), ", "qrkInsertXML", ""},
};

#undef OVERRIDE
#undef ONE_DOCUMENT
#undef ROWS
#undef RESULT_TABLE
#undef RESULT_COLUMNS

void createProcedures(StatementList& list) {
  for (const Procedure& procedure : kProcedures) {
    std::string text = std::string("create procedure orvxml.") + procedure.name + '(' +
                       procedure.parameters +
                       "out returnCode integer, out returnMsg varchar(1024)) external name"
                       " 'orvxml!" +
                       procedure.entry + '\'';
    if (*procedure.specific) text.append(" specific ORVXML.").append(procedure.specific);
    list.push_back(text.append(kProcedure));
  }
}

}  // namespace

StatementList enableStmt() {
  StatementList list;
  static constexpr const char* kFirst[] = {
      "SET CURRENT FUNCTION PATH = ORVXML, SYSNTQ, SYSFUN",
      "create distinct type orvxml.XMLVarchar as varchar(3000) with comparisons",
      "create distinct type orvxml.XMLCLOB as CLOB(2G)",
      "create distinct type orvxml.XMLFile as varchar(512) with comparisons",
  };
  append(list, kFirst);
  create(list, kFileFunctions, kStorage);
  create(list, kContentFunctions, kScalar);
  createScalars(list, kCreated, kDocumentTypes);
  createTableFunctions(list, kCreated, kDocumentTypes);
  append(list, kTables);
  create(list, kUpdateAndValidate, kStorage);
  list.emplace_back(
      "create function orvxml.VARCHARTOVARCHAR( orvxml.XMLVARCHAR) returns varchar(32672)"
      " Source orvxml.varchar(orvxml.XMLVARCHAR)");
  list.emplace_back(
      "create function orvxml.seqno() returns integer external name 'orvxmlfn!qrkSeqno'"
      " specific seqno not deterministic no external action language C not fenced"
      " parameter style ORVSQL no SQL scratchpad allow parallel DBINFO");
  createProcedures(list);
  return list;
}

StatementList enableStmtDB() {
  StatementList list;
  list.emplace_back("create distinct type orvxml.XMLDBCLOB as dbclob(10k)");
  create(list, kDoubleByteFile, kStorage);
  create(list, kDoubleByteContent, kScalar);
  createScalars(list, kDoubleByte, kDoubleByteType);
  createTableFunctions(list, kDoubleByte, kDoubleByteType);
  return list;
}

StatementList disableStmt() {
  StatementList list;
  static constexpr const char* kFirst[] = {"ValidateFile",     "ValidateVarchar", "ValidateClob",
                                           "UpdateXMLVarchar", "UpdateXMLClob",   "UpdateXMLFile"};
  dropSpecific(list, kFirst);
  dropExtractions(list, kDroppedFirst, kDocumentTypes);
  static constexpr const char* kFiles[] = {
      "orvxmlcontentvf",   "orvxmlcontentvf2", "orvxmlcontentcf",    "orvxmlcontentcf2",
      "orvxmlcontentfc",   "qrkVarchar",       "qrkXMLVarcharFile2", "qrkCLOB",
      "qrkXMLCLOBFile2",   "qrkFile",          "qrkXMLFileCLOB2",    "qrkContentvar2file",
      "qrkXMLFileVarchar2"};
  dropSpecific(list, kFiles);
  static constexpr const char* kMiddle[] = {
      "drop function orvxml.seqno",
      "drop trigger orvxml.dtdref_delete",
      "drop trigger orvxml.dtdref_update",
      "drop trigger orvxml.dtdref_insert",
      "drop table orvxml.dtd_ref",
      "drop table orvxml.xml_usage",
      "drop procedure orvxml.qrkEnableColumn",
      "drop procedure orvxml.qrkDisableColumn",
      "drop procedure orvxml.qrkEnableCollection",
      "drop procedure orvxml.qrkDisableCollection",
      "drop procedure orvxml.qrkDisableDB",
      "drop specific procedure orvxml.qrkGenXML1",
      "drop specific procedure orvxml.qrkGenXML2",
      "drop specific procedure orvxml.qrkGenXMLClob",
      "drop procedure orvxml.qrkShredXML",
      "drop specific procedure orvxml.qrkRetrieveXML1",
      "drop specific procedure orvxml.qrkRetrieveXML2",
      "drop specific procedure orvxml.qrkRetrieveXMLClob",
      "drop procedure orvxml.qrkInsertXML",
  };
  append(list, kMiddle);
  dropExtractions(list, kDroppedLast, kDocumentTypes);
  list.emplace_back("drop function orvxml.VARCHARTOVARCHAR(orvxml.XMLVARCHAR)");
  list.emplace_back("drop distinct type orvxml.XMLFile");
  return list;
}

StatementList disableStmtDB() {
  StatementList list;
  dropExtractions(list, kDoubleByte, kDoubleByteType);
  list.emplace_back("drop function orvxml.XMLDBCLOBFromFile");
  list.emplace_back("drop specific function orvxml.orvxmlcontentdf");
  list.emplace_back("drop distinct type orvxml.XMLDBCLOB");
  return list;
}

StatementList enableStmtSchema() {
  StatementList list;
  create(list, kSchemaFunctions, kStorage);
  return list;
}

StatementList disableStmtSchema() {
  StatementList list;
  static constexpr const char* kDropped[] = {"ValidateSchemaFile", "ValidateSchemaVarchar",
                                             "ValidateSchemaClob"};
  dropSpecific(list, kDropped);
  return list;
}

}  // namespace orvxml
