#include "tests/support/admin_calls.h"
#include "tests/support/dads.h"

namespace orvxml::test {
namespace {

const std::string kNo = "<validation>NO</validation>";
const std::string kTooLong =
    "QRKQ032E  Column name cannot be longer than maximum length allowed by ORV.";
const std::string kTopCondition = "p.k = c.k";

CallOutcome enabled(const std::string& name) {
  return {0, "QRKA067I  XML Annex has successfully enabled collection " + name + "."};
}
CallOutcome disabled(const std::string& name) {
  return {0, "QRKA066I  XML Annex has successfully disabled collection " + name + "."};
}
CallOutcome unknown(const std::string& name) {
  return {-88, "QRKQ028E  Cannot find the collection " + name + " in the XML_USAGE table."};
}

// A mapping by tables: the key of the second one has a column of its own and the one that joins it
// with the first.
std::string byTables(const std::string& header) {
  return "<DAD>" + header +
         "<Xcollection><root_node><element_node name='p'>"
         "<RDB_node><table name='p' key='k'/><table name='c' key='k n'/>"
         "<condition>p.k = c.k</condition></RDB_node>"
         "<attribute_node name='k'><RDB_node><table name='p'/><column name='k' type='integer'/>"
         "</RDB_node></attribute_node>"
         "<element_node name='c' multi_occurrence='YES'><attribute_node name='n'><RDB_node>"
         "<table name='c'/><column name='n' type='smallint'/></RDB_node></attribute_node>"
         "</element_node></element_node></root_node></Xcollection></DAD>";
}

// A mapping by one query: its tables are nobody's business here.
std::string byQuery(const std::string& header) {
  return "<DAD>" + header +
         "<Xcollection><SQL_stmt>select k from nowhere order by k</SQL_stmt></Xcollection></DAD>";
}

class CollectionTest : public testing::Test {
 protected:
  CollectionTest() {
    EXPECT_EQ(db_.enable().code, 0);
    db_.run(
        "insert into orvxml.dtd_ref (dtdid, content, usage_count)"
        " values ('letters.dtd', orvxml.XMLCLOB('<!ELEMENT p ANY>'), 0)");
    db_.commit();
  }

  Rows usage() {
    return db_.rows(
        "select rtrim(table_schema), rtrim(table_name), rtrim(col_name), dtdid, dad,"
        " access_mode, validation, default_view, trigger_suffix from orvxml.xml_usage");
  }
  Rows madeTables() {
    return db_.rows(
        "select tabname, tbspace from syscat.tables where tabname in ('P', 'C')"
        " order by tabname");
  }
  CallOutcome enableByCall(const Text& name, const Text& dad) {
    return db_.call("ORVXML", "QRKENABLECOLLECTION", {"SHOP", name, dad, std::nullopt});
  }
  CallOutcome disableByCall(const Text& name) {
    return db_.call("ORVXML", "QRKDISABLECOLLECTION", {"SHOP", name});
  }

  AdminDatabase db_;
};

TEST_F(CollectionTest, TheDadIsKeptWithWhatItSays) {
  struct Case {
    const char* label;
    std::string dad;
    const char *dtdid, *validation;
    Rows tables;
  };
  const Rows made = {{"C", "NULL"}, {"P", "NULL"}};
  const Case kCases[] = {
      {"tables", byTables(kNo), "NULL", "0", made},
      {"a DTD", byTables("<dtdid> letters.dtd\n</dtdid><validation> yes </validation>"),
       "letters.dtd", "1", made},
      {"an empty DTD id", byTables("<dtdid/><!-- none -->" + kNo), "NULL", "0", made},
      {"a schema",
       byTables("<schemabindings><nonamespacelocation location='l.xsd'/>"
                "</schemabindings><validation>YES</validation>"),
       "NULL", "1", made},
      {"a query", byQuery(kNo), "NULL", "0", {}},
  };
  for (const Case& c : kCases) {
    for (const bool byCall : {false, true}) {
      SCOPED_TRACE(c.label);
      const Catalog before = db_.catalog();
      EXPECT_EQ(byCall ? enableByCall("L", c.dad) : db_.enableCollection("L", c.dad), enabled("L"));
      EXPECT_EQ(usage(), (Rows{{"QRK_COLL", "QRK_COLLECTION", "L", c.dtdid, c.dad, "1",
                                c.validation, "NULL", "0       "}}));
      EXPECT_EQ(madeTables(), c.tables);
      db_.rollback();
      EXPECT_EQ(usage(), Rows{});
      EXPECT_EQ(db_.catalog(), before);
    }
  }
}

TEST_F(CollectionTest, WhatIsWrongIsRefused) {
  struct Case {
    const char* label;
    Text name, dad;
    CallOutcome outcome;
  };
  const std::string schema =
      "<schemabindings><nonamespacelocation location='l.xsd'/></schemabindings>";
  const std::string both =
      "QRKQ057E  The schemabindings and dtdid tags cannot exist together in the DAD file.";
  const std::string null = "QRKG004E  Invalid null parameter.";
  const auto badValidation = [](const std::string& value) {
    return CallOutcome{-40,
                       "QRKA056E  The validation value " + value + " in the DAD file is invalid."};
  };
  const Case kCases[] = {
      {"no name", std::nullopt, "<DAD/>", {-60, null}},
      {"no DAD", "L", std::nullopt, {-60, null}},
      {"a name of 31 characters", std::string(31, 'l'), "<DAD/>", {-101, kTooLong}},
      {"a schema after a DTD", "L", byTables("<dtdid/>" + schema + kNo), {-137, both}},
      {"a DTD after a schema", "L", byTables(schema + "<dtdid/>" + kNo), {-137, both}},
      {"a schema without a location",
       "L",
       byTables("<schemabindings/>" + kNo),
       {-138,
        "QRKQ058E  The nonamespacelocation tag inside the schemabindings tag is missing in the"
        " DAD file."}},
      {"no validation", "L", byTables(""), badValidation("(NULL)")},
      {"no validation of a query", "L", byQuery(""), badValidation("(NULL)")},
      {"another validation", "L", byTables("<validation>perhaps</validation>"),
       badValidation("perhaps")},
      {"the mapping of a column",
       "L",
       "<DAD>" + kNo + "<Xcolumn/></DAD>",
       {-123, "QRKQ040E  The element name Xcolumn in the DAD file is invalid."}},
      {"no mapping",
       "L",
       "<DAD>" + kNo + "</DAD>",
       {-61, "QRKQ000E  RDB_node is missing from the DAD file."}},
      {"tables without elements",
       "L",
       "<DAD>" + kNo + "<Xcollection><RDB_node><table name='p'/></RDB_node></Xcollection></DAD>",
       {-61, "QRKQ000E  element_node is missing from the DAD file."}},
      {"a column that is no foreign key",
       "L",
       dad(element("p", tables("pc", kTopCondition) + attribute("k", column("p", "k")) +
                            element("c", attribute("k", column("c", "k")))),
           kNo),
       {-136,
        "QRKQ056E  Element/attribute k cannot be mapped to the column designated as part of"
        " the foreign key (column K in table C)."}},
      {"text behind a NUL",
       "L",
       "<DAD/>" + std::string("\0x", 2),
       {-54, "QRKD000E  An invalid XML document is rejected."}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(db_.enableCollection(c.name, c.dad), c.outcome);
    const CallOutcome called = enableByCall(c.name, c.dad);
    const CallOutcome kNullInput{-14,
                                 "QRKA019E  A input parameter required to enable the column is"
                                 " null."};
    EXPECT_EQ(called, c.name ? c.outcome : kNullInput);
    EXPECT_EQ(usage(), Rows{});
    EXPECT_EQ(madeTables(), Rows{});
  }
  const CallOutcome notXml = db_.enableCollection("L", "<DAD>");
  EXPECT_EQ(notXml.code, -85) << notXml;
  EXPECT_EQ(notXml.message.substr(0, 8), "QRKQ047E");
}

TEST_F(CollectionTest, ANameMayFillItsColumn) {
  const std::string name(30, 'l');
  EXPECT_EQ(db_.enableCollection(name, byQuery(kNo)), enabled(name));
  EXPECT_EQ(disableByCall(name), disabled(name));
  EXPECT_EQ(usage(), Rows{});
}

// The row does not go in: the server says why.
TEST_F(CollectionTest, ARowThatTheTableRefuses) {
  ASSERT_EQ(db_.enableCollection("L", byQuery(kNo)), enabled("L"));
  struct Case {
    const char *label, *name;
    std::string dad;
    const char* server;
  };
  const Case kCases[] = {
      {"a name in use", "L", byQuery(kNo), "ORV0803"},
      {"an unknown DTD", "M", byQuery("<dtdid>none.dtd</dtdid>" + kNo), "ORV0530"},
      {"a DTD id over its length", "M",
       byQuery("<dtdid>" + std::string(129, 'd') + "</dtdid>" + kNo), "ORV0433"},
      {"a DAD over 100K", "M", byQuery(kNo + "<!--" + std::string(102400, 'x') + "-->"), "ORV"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    const CallOutcome outcome = db_.enableCollection(c.name, c.dad);
    EXPECT_EQ(outcome.code, -6) << outcome;
    EXPECT_EQ(outcome.message.substr(0, 3), "ORV");
    EXPECT_NE(outcome.message.find(c.server), std::string::npos) << outcome;
    EXPECT_TRUE(outcome.message.ends_with(
        "\nQRKA011E  Inserting a record into ORVXML.XML_USAGE table failed."));
  }
}

TEST_F(CollectionTest, TablesAreMadeInTheTableSpaceWithTheirKeys) {
  db_.run("create tablespace TS1");
  ASSERT_EQ(db_.enableCollection("L", byTables(kNo), "TS1"), enabled("L"));
  EXPECT_EQ(madeTables(), (Rows{{"C", "TS1"}, {"P", "TS1"}}));
  EXPECT_EQ(db_.rows("select colname, typename, nulls, keyseq from syscat.columns"
                     " where tabname = 'C' order by keyseq"),
            (Rows{{"K", "INTEGER", "N", "1"}, {"N", "SMALLINT", "N", "2"}}));
  db_.run("insert into c (k, n) values (1, 1)", -530);
  // The tables are there now: a second collection shares them when they fit.
  EXPECT_EQ(db_.enableCollection("M", byTables(kNo), "NOWHERE"), enabled("M"));
  EXPECT_EQ(db_.enableCollection("N", parentAndChild(kNo)),
            (CallOutcome{-82, "QRKQ022E  Column K of P should have type INTEGER."}));
  const CallOutcome nowhere = db_.enableCollection(
      "N", dad(element("q", tables("q") + attribute("k", column("q", "k"))), kNo), "NOWHERE");
  EXPECT_EQ(nowhere.code, -84) << nowhere;
}

// Documents go in and come out by the collection's name, until it is disabled; its tables stay.
TEST_F(CollectionTest, ACollectionLivesUntilItIsDisabled) {
  ASSERT_EQ(enableByCall("L", byTables(kNo)), enabled("L"));
  EXPECT_EQ(db_.call("ORVXML", "QRKINSERTXML", {"L", "<p k='7'><c n='1'/><c n='2'/></p>"}).code, 0);
  EXPECT_EQ(db_.rows("select k, n from c order by n"), (Rows{{"7", "1"}, {"7", "2"}}));
  db_.commit();

  EXPECT_EQ(db_.disableCollection("L"), disabled("L"));
  EXPECT_EQ(db_.disableCollection("L"), unknown("L"));
  EXPECT_EQ(db_.call("ORVXML", "QRKINSERTXML", {"L", "<p k='8'/>"}), unknown("L"));
  db_.rollback();
  EXPECT_EQ(db_.call("ORVXML", "QRKINSERTXML", {"L", "<p k='8'/>"}).code, 0);

  EXPECT_EQ(disableByCall("L"), disabled("L"));
  EXPECT_EQ(disableByCall("L"), unknown("L"));
  EXPECT_EQ(madeTables().size(), 2u);
  EXPECT_EQ(db_.enableCollection("L", byTables(kNo)), enabled("L"));
}

TEST_F(CollectionTest, NamesThatNoCollectionHas) {
  for (const std::string& name : {std::string(), std::string("l"), std::string("L'M"),
                                  std::string(31, 'l'), std::string(128, 'l')}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(db_.disableCollection(name), unknown(name));
    EXPECT_EQ(disableByCall(name), unknown(name));
  }
  EXPECT_EQ(db_.disableCollection(std::string(2000, 'l')).code, -88);
  EXPECT_EQ(disableByCall(std::string("L\0M", 3)),
            (CallOutcome{-134, "QRKQ054E  Invalid input parameter: L"}));
  EXPECT_EQ(db_.disableCollection(std::nullopt).code, -60);
  EXPECT_EQ(disableByCall(std::nullopt).code, -14);
}

TEST(CollectionDatabaseTest, DatabasesThatAreNotReady) {
  struct Case {
    const char* label;
    bool bound;
    const char* before;
    int enableCode, disableCode;
    const char *enableText, *disableText;
  };
  const char* const kNoTable =
      "QRKQ052E  An error occured while accessing the ORVXML.XML_USAGE table.";
  const char* const kNotBound =
      "QRKA073E  The database is not bound. Please bind the database before enabling it.";
  const Case kCases[] = {
      {"not enabled", true, "values 1", -132, -132, kNoTable, kNoTable},
      {"not bound", false, "values 1", -104, -104, kNotBound, kNotBound},
      {"another table of this name", true, "create table orvxml.xml_usage (dad clob(100k))", -6,
       -57, "QRKA011E  Inserting a record into ORVXML.XML_USAGE table failed.",
       ", file qrkcoll, and line 1284."},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.label);
    AdminDatabase db(1208, ":memory:", c.bound);
    db.run(c.before);
    const CallOutcome enabling = db.enableCollection("L", byQuery(kNo));
    EXPECT_EQ(enabling.code, c.enableCode);
    EXPECT_TRUE(enabling.message.ends_with(c.enableText)) << enabling;
    const CallOutcome disabling = db.disableCollection("L");
    EXPECT_EQ(disabling.code, c.disableCode);
    EXPECT_TRUE(disabling.message.ends_with(c.disableText)) << disabling;
  }
}

// The package of the deletion is bound with the token of another library.
TEST(CollectionDatabaseTest, DisablingWithoutItsPackage) {
  const TemporaryFolder folder;
  AdminDatabase db;
  ASSERT_EQ(db.enable().code, 0);
  ASSERT_EQ(db.enableCollection("L", byQuery(kNo)), enabled("L"));
  db.commit();
  const std::string old =
      folder.write("old.bnd", "ORVBIND 1\npackage QRKCOLL\ntoken 00000000\nsections 0\nend\n");
  sqlca area{};
  sqlabndx(old.c_str(), nullptr, nullptr, &area);
  ASSERT_EQ(area.sqlcode, 0);
  const CallOutcome outcome = db.disableCollection("L");
  EXPECT_EQ(outcome.code, -104);
  EXPECT_TRUE(outcome.message.starts_with("ORV0805E")) << outcome;
  EXPECT_TRUE(outcome.message.ends_with(
      "\nQRKM001W  A ORV error occurred.\nQRKA073E  The database is not bound. Please bind the"
      " database before enabling it."))
      << outcome;
  db.bind();
  EXPECT_EQ(db.disableCollection("L"), disabled("L"));
}

}  // namespace
}  // namespace orvxml::test
