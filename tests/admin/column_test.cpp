// Columns enabled and disabled: what enabling refuses, how the side tables follow the documents,
// and what disabling leaves.
#include "tests/admin/column_database.h"

namespace orvxml::test {
namespace {

// The root ids of a table of letters are generated values or the letters' numbers.
struct Keys {
  const char* label;
  Text rootid;
  std::string column;
};
const Keys kKeys[] = {{"generated", std::nullopt, "QRKROOT_ID"}, {"given", "no", "no"}};
// Somebody has made the column for the generated values, of characters.
constexpr char kOwnRootId[] = "alter table letters add qrkroot_id char(13)";

// The side tables together with the letters they belong to.
struct SideRows {
  Rows head, cost, receiver;
  bool operator==(const SideRows&) const = default;
};
std::ostream& operator<<(std::ostream& out, const SideRows& side) {
  for (const Rows* rows : {&side.head, &side.cost, &side.receiver}) {
    for (const Row& row : *rows) {
      for (const std::string& value : row) out << value << ' ';
      out << '/';
    }
    out << '\n';
  }
  return out;
}

SideRows sideRows(ColumnDatabase& db, const std::string& key) {
  const auto joined = [&](const std::string& table, const std::string& columns) {
    return db.rows("select l.no, " + columns + " from letters l, " + table + " s where l." + key +
                   " = s." + key + " order by 1, 2");
  };
  SideRows side{joined("head", "sender, sent"), joined("cost", "price"),
                joined("receiver", "qrk_seqno, name")};
  // Rows of letters that are gone would stand beside the join.
  EXPECT_EQ(db.count("head"), static_cast<int>(side.head.size()));
  EXPECT_EQ(db.count("cost"), static_cast<int>(side.cost.size()));
  EXPECT_EQ(db.count("receiver"), static_cast<int>(side.receiver.size()));
  return side;
}

TEST(ColumnTest, SideTablesFollowTheDocuments) {
  for (const Keys& keys : kKeys) {
    for (const ColumnForm form : kColumnForms) {
      SCOPED_TRACE(keys.label);
      ColumnDatabase db;
      if (form == ColumnForm::List) db.run(kOwnRootId);
      EXPECT_EQ(db.enableColumn(
                    {.dad = lettersDad(), .view = "whole", .rootid = keys.rootid, .form = form}),
                enabled());
      db.insert(1, letter("Ada", "12.5", {"Grace", "Edsger"}));
      db.run("insert into letters (no, doc) values (2, orvxml.XMLVarchar('" +
             letter("Alan", "3", {}) + "')), (3, null), (4, orvxml.XMLVarchar('" +
             letter("Kurt", "0.333", {"Alonzo"}) + "'))");
      EXPECT_EQ(sideRows(db, keys.column),
                (SideRows{{{"1", "Ada", "2026-11-24"},
                           {"2", "Alan", "2026-11-24"},
                           {"4", "Kurt", "2026-11-24"}},
                          {{"1", "12.50"}, {"2", "3.00"}, {"4", "0.33"}},
                          {{"1", "1", "Grace"}, {"1", "2", "Edsger"}, {"4", "1", "Alonzo"}}}));
      db.run("update letters set doc = orvxml.XMLVarchar('" + letter("Emmy", "7", {"David"}) +
             "') where no < 3");
      EXPECT_EQ(sideRows(db, keys.column),
                (SideRows{{{"1", "Emmy", "2026-11-24"},
                           {"2", "Emmy", "2026-11-24"},
                           {"4", "Kurt", "2026-11-24"}},
                          {{"1", "7.00"}, {"2", "7.00"}, {"4", "0.33"}},
                          {{"1", "1", "David"}, {"2", "1", "David"}, {"4", "1", "Alonzo"}}}));
      db.run("delete from letters where no = 1");
      db.run("insert into letters (no, doc) select no + 20, doc from letters where no = 2");
      EXPECT_EQ(sideRows(db, keys.column).receiver,
                (Rows{{"2", "1", "David"}, {"4", "1", "Alonzo"}, {"22", "1", "David"}}));
      EXPECT_EQ(db.run("delete from letters").rowCount, 4);
      EXPECT_EQ(sideRows(db, keys.column), SideRows{});
    }
  }
}

// What the side tables cannot take fails the whole statement: all of its rows, in all tables.
TEST(ColumnTest, AStatementThatFailsChangesNothing) {
  struct Case {
    const char* label;
    std::string document;
    int sqlcode;
  };
  const Case cases[] = {
      {"a text that is too long", letter(std::string(21, 'x'), "1", {}), -433},
      {"no number", letter("Ada", "much", {}), -420},
      {"several values where one is kept", letter("Ada</from><from>Alan", "1", {}), -443},
      {"no document", "<letter>", -443},
      {"a receiver that is too long", letter("Ada", "1", {"Grace", std::string(21, 'x')}), -433},
  };
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = lettersDad()}), enabled());
  db.insert(1, letter("Ada", "1", {"Grace"}));
  const SideRows before = sideRows(db, "QRKROOT_ID");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string document = "orvxml.XMLVarchar('" + c.document + "')";
    db.run("insert into letters (no, doc) values (2, orvxml.XMLVarchar('" +
               letter("Alan", "2", {"Kurt"}) + "')), (3, " + document + ")",
           c.sqlcode);
    db.run("update letters set doc = " + document, c.sqlcode);
    EXPECT_EQ(db.count("letters"), 1);
    EXPECT_EQ(sideRows(db, "QRKROOT_ID"), before);
  }
}

constexpr char kDtd[] =
    "<!ELEMENT letter (from, to*, price)><!ATTLIST letter date CDATA #REQUIRED>"
    "<!ELEMENT from (#PCDATA)><!ELEMENT to (#PCDATA)><!ELEMENT price (#PCDATA)>";
constexpr char kSchema[] =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='letter'>"
    "<xs:complexType><xs:sequence><xs:element name='from' type='xs:string'/>"
    "<xs:element name='to' type='xs:string' minOccurs='0' maxOccurs='unbounded'/>"
    "<xs:element name='price' type='xs:decimal'/></xs:sequence>"
    "<xs:attribute name='date' type='xs:date' use='required'/></xs:complexType></xs:element>"
    "</xs:schema>";
// What a mapping says in front when its documents are validated.
std::string validatedByDtd() {
  return "<dtdid>letter.dtd</dtdid><validation>YES</validation>";
}
std::string validatedBySchema(const std::string& location) {
  return "<schemabindings><nonamespacelocation location='" + location +
         "'/></schemabindings><validation>YES</validation>";
}

TEST(ColumnTest, InvalidDocumentsAreRefused) {
  const TemporaryFolder folder;
  const std::string schema = folder.write("it's.xsd", kSchema);
  for (const bool byDtd : {true, false}) {
    SCOPED_TRACE(byDtd);
    ColumnDatabase db;
    db.addDtd("letter.dtd", kDtd);
    std::string location = schema;
    location.replace(location.find('\''), 1, "&apos;");
    const std::string settings = byDtd ? validatedByDtd() : validatedBySchema(location);
    ASSERT_EQ(db.enableColumn({.dad = lettersDad(settings)}), enabled());
    EXPECT_EQ(db.usageCount("letter.dtd"), byDtd ? "1" : "0");
    const std::string doctype = byDtd ? "<!DOCTYPE letter SYSTEM \"letter.dtd\">" : "";
    const std::string valid = doctype + letter("Ada", "1", {"Grace"});
    db.insert(1, valid);
    const SideRows before = sideRows(db, "QRKROOT_ID");
    const std::string invalid = doctype + "<letter date=\"2026-11-24\"><price>1</price></letter>";
    for (const std::string& statement :
         {"insert into letters (no, doc) values (2, orvxml.XMLVarchar('" + valid +
              "')), (3, orvxml.XMLVarchar('" + invalid + "'))",
          "update letters set doc = orvxml.XMLVarchar('" + invalid + "')"}) {
      const orv::Result refused = db.run(statement, -438);
      EXPECT_EQ(refused.outcome.sqlstate, "38X14");
      EXPECT_NE(refused.outcome.message.find("QRKD000E  An invalid XML document is rejected."),
                std::string::npos)
          << refused.outcome.message;
      EXPECT_EQ(db.count("letters"), 1);
      EXPECT_EQ(sideRows(db, "QRKROOT_ID"), before);
    }
    db.run("update letters set no = 5");
    db.run("update letters set doc = orvxml.XMLVarchar('" + doctype + letter("Emmy", "2", {}) +
           "')");
    EXPECT_EQ(sideRows(db, "QRKROOT_ID").head, (Rows{{"5", "Emmy", "2026-11-24"}}));
    EXPECT_EQ(db.disableColumn(), disabled());
    EXPECT_EQ(db.usageCount("letter.dtd"), "0");
    db.run("update letters set doc = orvxml.XMLVarchar('" + invalid + "')");
  }
}

// Enabling and disabling in one unit of work and in two, which may be undone in between.
TEST(ColumnTest, DisablingLeavesTheDatabaseAsItWas) {
  const TemporaryFolder folder;
  const std::string schema = folder.write("letter.xsd", kSchema);
  struct Case {
    const char* label;
    ColumnArguments arguments;
  };
  const Case cases[] = {
      {"plain", {.dad = lettersDad()}},
      {"root id", {.dad = lettersDad(), .rootid = "no"}},
      {"view and table space", {.dad = lettersDad(), .tableSpace = "TS1", .view = "v"}},
      {"table space with a blank", {.dad = lettersDad(), .tableSpace = "\"my space\""}},
      {"root id and view", {.dad = lettersDad(), .view = "app.v", .rootid = "\"NO\""}},
      {"DTD", {.dad = lettersDad(validatedByDtd())}},
      {"DTD without validation", {.dad = lettersDad("<dtdid>letter.dtd</dtdid>")}},
      {"schema", {.dad = lettersDad(validatedBySchema(schema)), .rootid = "no"}},
      {"validation against nothing", {.dad = lettersDad("<validation>YES</validation>")}},
      {"no side tables", {.dad = columnDad("")}},
  };
  ColumnDatabase db;
  db.run("create tablespace TS1");
  db.run("create tablespace \"my space\"");
  db.addDtd("letter.dtd", kDtd);
  // The generated root id would stay in the table.
  db.run("alter table letters add QRKROOT_ID char(13) for bit data");
  db.commit();
  const Catalog before = db.catalog();
  const auto expectAsBefore = [&] {
    EXPECT_EQ(db.catalog(), before);
    EXPECT_EQ(db.count("orvxml.xml_usage"), 0);
    EXPECT_EQ(db.usageCount("letter.dtd"), "0");
    EXPECT_EQ(db.count("letters where QRKROOT_ID is not null"), 0);
  };
  ColumnForm form = ColumnForm::List;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    form = form == ColumnForm::List ? ColumnForm::Call : ColumnForm::List;
    ColumnArguments arguments = c.arguments;
    arguments.form = form;
    EXPECT_EQ(db.enableColumn(arguments), enabled());
    EXPECT_NE(db.catalog(), before);
    db.rollback();
    expectAsBefore();
    EXPECT_EQ(db.enableColumn(arguments), enabled());
    db.insert(1, "<!DOCTYPE letter SYSTEM \"letter.dtd\">" + letter("Ada", "1", {"Grace"}));
    db.commit();
    const Catalog between = db.catalog();
    EXPECT_EQ(db.disableColumn(form), disabled());
    expectAsBefore();
    db.rollback();
    EXPECT_EQ(db.catalog(), between);
    EXPECT_EQ(db.disableColumn(form), disabled());
    EXPECT_EQ(db.run("delete from letters").rowCount, 1);
    db.commit();
    expectAsBefore();
  }
}

// The forms that are given the name of the database first do the same.
TEST(ColumnTest, FormsWithTheNameOfTheDatabase) {
  ColumnDatabase db;
  char name[] = "SHOP", table[] = "letters", column[] = "doc", view[] = "v";
  ClobArgument dad(lettersDad());
  const auto enable = [&](clob* mapping) {
    return callList(&qrkEnableColumn0_STP, &name[0], &table[0], &column[0], mapping,
                    static_cast<char*>(nullptr), &view[0], static_cast<char*>(nullptr));
  };
  const auto disable = [&](char* of) {
    return callList(&qrkDisableColumn0_STP, &name[0], &table[0], of);
  };
  const CallOutcome nullInput{-60, qrkMsgTable[static_cast<size_t>(Msg::QRKG004E)]};
  EXPECT_EQ(enable(nullptr), nullInput);
  EXPECT_EQ(enable(dad.get()), enabled());
  EXPECT_EQ(db.count("v"), 0);
  EXPECT_EQ(disable(nullptr), nullInput);
  EXPECT_EQ(disable(&column[0]), disabled());
}

// Two columns of one table have their own side tables, which go on when the other column goes.
TEST(ColumnTest, SeveralColumnsOfOneTable) {
  struct Case {
    const char* label;
    Text docKey, answerKey;
    bool docGoesFirst;
  };
  std::vector<Case> cases;
  for (const bool docGoesFirst : {true, false}) {
    for (const Keys& doc : kKeys) {
      for (const Keys& answer : kKeys) {
        cases.push_back({doc.label, doc.rootid, answer.rootid, docGoesFirst});
      }
    }
  }
  const std::string answers =
      columnDad(sideTable("answer", sideColumn("word", "varchar(20)", "//word", "YES")) +
                sideTable("short", sideColumn("size", "integer", "//@size")));
  ColumnDatabase db;
  db.run("alter table letters add answer orvxml.XMLVarchar");
  db.run("alter table letters add QRKROOT_ID char(13) for bit data");
  db.commit();
  const Catalog before = db.catalog();
  const auto key = [](const Text& rootid) { return rootid.value_or("QRKROOT_ID"); };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.label) + ' ' + key(c.answerKey) + (c.docGoesFirst ? " doc" : ""));
    EXPECT_EQ(db.enableColumn({.dad = lettersDad(), .rootid = c.docKey}), enabled());
    EXPECT_EQ(db.enableColumn({.dad = answers, .rootid = c.answerKey, .column = "answer"}),
              enabled("answer"));
    const auto expectAnswer = [&](const Rows& rows) {
      const std::string id = key(c.answerKey);
      EXPECT_EQ(db.rows("select l.no, word, size from letters l, answer a, short s where l." + id +
                        " = a." + id + " and l." + id + " = s." + id),
                rows);
    };
    const auto answer = [](const std::string& word) {
      return "orvxml.XMLVarchar('<a size=\"" + std::to_string(word.size()) + "\"><word>" + word +
             "</word></a>')";
    };
    db.run("insert into letters (no, doc, answer) values (1, orvxml.XMLVarchar('" +
           letter("Ada", "1", {"Grace"}) + "'), " + answer("yes") + ")");
    EXPECT_EQ(sideRows(db, key(c.docKey)).receiver, (Rows{{"1", "1", "Grace"}}));
    expectAnswer({{"1", "yes", "3"}});
    if (c.docGoesFirst) {
      EXPECT_EQ(db.disableColumn(), disabled());
      db.run("update letters set answer = " + answer("no"));
      expectAnswer({{"1", "no", "2"}});
      EXPECT_EQ(db.disableColumn(ColumnForm::List, "answer"), disabled("answer"));
    } else {
      EXPECT_EQ(db.disableColumn(ColumnForm::List, "answer"), disabled("answer"));
      db.run("update letters set doc = orvxml.XMLVarchar('" + letter("Emmy", "7", {"David"}) +
             "')");
      EXPECT_EQ(sideRows(db, key(c.docKey)).receiver, (Rows{{"1", "1", "David"}}));
      EXPECT_EQ(db.disableColumn(), disabled());
    }
    EXPECT_EQ(db.count("letters where QRKROOT_ID is not null"), 0);
    EXPECT_EQ(db.catalog(), before);
    db.rollback();
  }
}

// Documents that were there before have no rows in the side tables until they get a root id.
TEST(ColumnTest, DocumentsPresentBefore) {
  ColumnDatabase db;
  db.insert(1, letter("Ada", "1", {"Grace"}));
  EXPECT_EQ(db.enableColumn({.dad = lettersDad()}), enabled());
  EXPECT_EQ(sideRows(db, "QRKROOT_ID"), SideRows{});
  const orv::Result update = db.run("update letters set doc = doc", -407);
  EXPECT_NE(update.outcome.message.find("RECEIVER.QRKROOT_ID"), std::string::npos)
      << update.outcome.message;
  db.run("create table old_letters (no integer, doc orvxml.XMLVarchar)");
  db.run("insert into old_letters select no, doc from letters");
  db.run("delete from letters");
  db.run("insert into letters (no, doc) select no, doc from old_letters");
  EXPECT_EQ(sideRows(db, "QRKROOT_ID").receiver, (Rows{{"1", "1", "Grace"}}));
}

// Without a row in a side table an update has nothing to change there; an update to null leaves it.
TEST(ColumnTest, DocumentsThatComeAndGoByUpdates) {
  ColumnDatabase db;
  EXPECT_EQ(db.enableColumn({.dad = lettersDad(), .rootid = "no"}), enabled());
  db.run("insert into letters (no) values (1)");
  db.run("update letters set doc = orvxml.XMLVarchar('" + letter("Ada", "1", {"Grace"}) + "')");
  EXPECT_EQ(sideRows(db, "no"), (SideRows{{}, {}, {{"1", "1", "Grace"}}}));
  db.run("update letters set doc = null");
  EXPECT_EQ(sideRows(db, "no"), (SideRows{{}, {}, {{"1", "1", "Grace"}}}));
  db.run("delete from letters");
  EXPECT_EQ(sideRows(db, "no"), SideRows{});
}

}  // namespace
}  // namespace orvxml::test
