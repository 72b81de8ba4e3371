#include "src/server_access/catalog_queries.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "src/text/sql_scanner.h"
#include "tests/support/admin_calls.h"
#include "tests/support/temporary_folder.h"

namespace orvxml {
namespace {

using test::CallContext;
using test::Database;
using test::Rows;

class CatalogQueriesTest : public testing::Test {
 protected:
  CatalogQueriesTest() {
    db_.run("CREATE TABLE T (FIRST INTEGER, V VARCHAR(30))");
    db_.run("CREATE TABLE S.\"it's\" (\"a b\" INTEGER)");
  }

  std::string message() const { return call_.msg; }

  // An enabled database with one DTD.
  void enable() {
    EXPECT_EQ(db_.enable().code, 0);
    db_.run(
        "INSERT INTO ORVXML.DTD_REF (DTDID, CONTENT, USAGE_COUNT) VALUES ('a.dtd', '<!ELEMENT a "
        "EMPTY>', 0)");
  }

  test::AdminDatabase db_;
  CallContext call_;
};

TEST_F(CatalogQueriesTest, TablesExistInTheirSchema) {
  struct Case {
    std::string schema, table;
    bool exists;
  };
  const Case cases[] = {
      {"", "T", true},
      {"S", "it's", true},
      {"", "t", false},
      {"S", "T", false},
      {"SYSCAT", "TABLES", true},
      {"", std::string(129, 'T'), false},
      {std::string(129, 'S'), "T", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(qrkTableExists(call_, c.schema.c_str(), c.table.c_str()), c.exists)
        << c.schema << '.' << c.table;
  }
}

TEST(UnboundDatabaseTest, AsksForTheBind) {
  Database db(1208, ":memory:", false);
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  char msg[kMessageSize] = "";
  const Report report{&context, msg};
  EXPECT_EQ(atEdge(report, [&] { qrkTableExists(&context, "", "T"); }), -104);
  EXPECT_NE(std::string(msg).find("QRKA073E  The database is not bound. Please bind the database "
                                  "before enabling it.\n"),
            std::string::npos)
      << msg;

  EXPECT_EQ(atEdge(report, [&] { qrkGetColumnName(&context, "", "T"); }), -18);
  EXPECT_NE(std::string(msg).find("QRKA024E  The XML Annex encountered an internal error while "
                                  "accessing the system catalog tables.\n"),
            std::string::npos)
      << msg;
}

TEST_F(CatalogQueriesTest, ColumnsHaveTypeSchemaNameAndLength) {
  db_.run("CREATE DISTINCT TYPE S.MONEY AS DECIMAL(9,2) WITH COMPARISONS");
  db_.run("CREATE TABLE S.T (M S.MONEY, C CHAR(7), L CLOB(2G))");
  db_.run("CREATE ALIAS S.\"it''s one\" FOR S.T");
  db_.run("CREATE ALIAS TWO FOR S.\"it''s one\"");
  struct Case {
    const char *schema, *table, *column;
    int rc;
    const char *typeSchema, *typeName;
    long length;
  };
  static constexpr Case kCases[] = {
      {"", "T", "V", 0, "", "VARCHAR", 30},      {"S", "T", "M", 0, "S", "MONEY", 9},
      {"S", "T", "C", 0, "", "CHARACTER", 7},    {"S", "T", "L", 0, "", "CLOB", 2147483647},
      {"S", "it's", "a b", 0, "", "INTEGER", 4}, {"S", "T", "X", -81, "", "", 0},
      {"", "TWO", "M", 0, "S", "MONEY", 9},      {"", "TWO", "V", -81, "", "", 0},
      {"", "NONE", "V", -81, "", "", 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.table) + '.' + c.column);
    CatalogType type;
    const auto ask = [&] { type = qrkGetCatalogColumnType(call_, c.schema, c.table, c.column); };
    EXPECT_EQ(call_.report(ask), c.rc) << message();
    EXPECT_EQ(type.schema, c.typeSchema);
    EXPECT_EQ(type.name, c.typeName);
    EXPECT_EQ(type.length, c.length);
  }
  EXPECT_EQ(message(), "QRKQ021E  Table NONE does not have column V.\n");
}

TEST_F(CatalogQueriesTest, TheFirstColumnOfATable) {
  struct Case {
    const char *schema, *table;
    int rc;
    const char *column, *message;
  };
  static constexpr Case kCases[] = {
      {"", "T", 0, "FIRST", ""},
      {"S", "it's", 0, "a b", ""},
      {"S'", "T", -11, "", "QRKA016E  The input table T does not exist.\n"},
  };
  for (const Case& c : kCases) {
    std::string column;
    EXPECT_EQ(call_.report([&] { column = qrkGetColumnName(call_, c.schema, c.table); }), c.rc);
    EXPECT_EQ(column, c.column);
    EXPECT_EQ(message(), c.message);
  }
}

TEST_F(CatalogQueriesTest, RegisteredTextsComeByTheirId) {
  enable();
  OutBuffer dtd(call_);
  ASSERT_TRUE(qrkGetDtdFileFromDtdId(call_, dtd.get(), "a.dtd"));
  EXPECT_STREQ(dtd->data, "<!ELEMENT a EMPTY>");
  EXPECT_EQ(dtd->size, 18u);
  for (const std::string& id : {std::string("b.dtd"), std::string("' OR '1' = '1")}) {
    OutBuffer none(call_);
    EXPECT_FALSE(qrkGetDtdFileFromDtdId(call_, none.get(), id.c_str()));
    EXPECT_EQ(none->data, nullptr);
  }
  OutBuffer schema(call_);
  EXPECT_EQ(qrkGetSchemaFromSchemaId(call_, schema.get(), "a.xsd", call_.msg), -140);
  EXPECT_NE(message().find("QRKQ060E  Attempt to find SCHEMA ID a.xsd failed.\n"),
            std::string::npos);
}

TEST_F(CatalogQueriesTest, TableSpacesAreGivenOrFixed) {
  short given = 0, null = -1;
  const auto clause = [&](int which, const char* space, short* indicator) {
    const std::string statement = "create table t (a int)";
    return appendTableSpaceClause(call_, statement.c_str(), which, space, indicator)
        .substr(statement.size());
  };
  EXPECT_EQ(clause(1, "TS1", &given), " IN TS1");
  EXPECT_EQ(clause(1, "TS1", &null), "");
  EXPECT_EQ(clause(1, "", &given), "");
  db_.run("CREATE TABLESPACE QRKDTDRF");
  EXPECT_EQ(clause(1, nullptr, &null), " IN QRKDTDRF");
  EXPECT_EQ(clause(2, nullptr, &null), "");
  db_.run("CREATE TABLESPACE QRKXMLUS");
  EXPECT_EQ(clause(2, nullptr, &null), " IN QRKXMLUS");
}

TEST_F(CatalogQueriesTest, UsageRowsHoldDadsFromMemoryAndFiles) {
  enable();
  const auto insert = [&](const char* column, const char* dtdid, const std::string& dad,
                          int32_t location) {
    OutBuffer buffer(call_);
    qrkBufAcquire(call_, buffer.get(), 200000, kNoSizeLimit, location, false);
    EXPECT_EQ(qrkBufAppend(call_, buffer.get(), dad.c_str()), 0);
    return call_.report([&] {
      qrkInsertXMLUsageBuf(
          call_, {"QRK_COLL", "QRK_COLLECTION", column, dtdid, buffer.get(), 1, 0, nullptr, "0  "});
    });
  };
  EXPECT_EQ(insert("MEMORY", "a.dtd", "<DAD/>", QRK_LOC_MEMORY), 0) << message();
  const std::string large = "<DAD>" + std::string(90000, ' ') + "</DAD>";
  EXPECT_EQ(insert("FILE", nullptr, large, QRK_LOC_FILE), 0) << message();
  EXPECT_EQ(db_.rows("SELECT DAD, DTDID, DEFAULT_VIEW, TRIGGER_SUFFIX FROM ORVXML.XML_USAGE WHERE "
                     "COL_NAME = 'MEMORY'"),
            (Rows{{"<DAD/>", "a.dtd", "NULL", "0       "}}));
  EXPECT_EQ(db_.rows("SELECT DAD, DTDID FROM ORVXML.XML_USAGE WHERE COL_NAME = 'FILE'"),
            (Rows{{large, "NULL"}}));
  // A name that exists, a DTD that is not registered, a DAD beyond the column's length.
  const std::string huge(102401, 'x');
  for (const auto& [column, dtdid, dad] :
       {std::tuple("MEMORY", "a.dtd", std::string("<DAD/>")),
        std::tuple("OTHER", "b.dtd", std::string("<DAD/>")), std::tuple("HUGE", "a.dtd", huge)}) {
    SCOPED_TRACE(column);
    EXPECT_EQ(insert(column, dtdid, dad, QRK_LOC_MEMORY), -6);
    EXPECT_NE(message().find("QRKA011E  Inserting a record into ORVXML.XML_USAGE table failed.\n"),
              std::string::npos)
        << message();
  }
}

TEST_F(CatalogQueriesTest, OnlyTypesOfTheirOwnLengthAreDropped) {
  const auto types = [&] {
    return db_.rows("SELECT TYPENAME FROM SYSCAT.DATATYPES WHERE TYPESCHEMA = 'ORVXML'");
  };
  EXPECT_EQ(qrkDropSchema(call_).sqlcode, 0);
  db_.run("CREATE DISTINCT TYPE ORVXML.XMLVARCHAR AS VARCHAR(2000) WITH COMPARISONS");
  db_.run("CREATE DISTINCT TYPE ORVXML.XMLCLOB AS CLOB(2G)");
  EXPECT_EQ(qrkDropSchema(call_).sqlcode, 0);
  EXPECT_EQ(types(), (Rows{{"XMLVARCHAR"}}));
  db_.run("DROP DISTINCT TYPE ORVXML.XMLVARCHAR");
  // A type in use stays and is reported; the other one goes.
  db_.run("CREATE DISTINCT TYPE ORVXML.XMLVARCHAR AS VARCHAR(3000) WITH COMPARISONS");
  db_.run("CREATE DISTINCT TYPE ORVXML.XMLCLOB AS CLOB(2G)");
  db_.run("CREATE TABLE USER1 (A ORVXML.XMLVARCHAR)");
  EXPECT_LT(qrkDropSchema(call_).sqlcode, 0);
  EXPECT_EQ(types(), (Rows{{"XMLVARCHAR"}}));
}

TEST(TypeNamesTest, SynonymsBecomeCatalogNames) {
  struct Case {
    const char* written;
    int length;
    const char* name;
  };
  static constexpr Case kCases[] = {
      {"INT", 0, "INTEGER"},
      {"DEC", 5, "DECIMAL"},
      {"NUMERIC", 5, "DECIMAL"},
      {"NUM", 5, "DECIMAL"},
      {"FLOAT", 0, "FLOAT"},
      {"FLOAT", 1, "REAL"},
      {"FLOAT", 24, "REAL"},
      {"FLOAT", 25, "DOUBLE"},
      {"FLOAT", 53, "DOUBLE"},
      {"FLOAT", 54, "FLOAT"},
      {"DOUBLE PRECISION", 0, "DOUBLE"},
      {"CHAR", 5, "CHARACTER"},
      {"CHARACTER VARYING", 5, "VARCHAR"},
      {"CHAR VARYING", 5, "VARCHAR"},
      {"VARCHAR", 5, "VARCHAR"},
      {"INTEGER2", 0, "INTEGER2"},
  };
  for (const Case& c : kCases) {
    char type[58];
    std::strcpy(type, c.written);
    qrkConvertTypename(nullptr, type, c.length);
    EXPECT_STREQ(type, c.name) << c.written << '(' << c.length << ')';
  }
}

}  // namespace
}  // namespace orvxml
