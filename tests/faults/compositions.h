// Compositions for faults to happen in: by both mappings, into a result table and into a CLOB, with
// a CLOB column, child rows, a validation and a document that goes through a temporary file.
#pragma once

#include "tests/support/compose_calls.h"

namespace orvxml::test {

struct FaultyComposition {
  const char* name;
  bool bySql;
  ComposeArguments arguments;  // without the mapping
};
inline std::ostream& operator<<(std::ostream& out, const FaultyComposition& composition) {
  return out << composition.name;
}

inline const FaultyComposition kFaultyCompositions[] = {
    {"TablesToTable", false, {.table = "result"}},
    {"StatementToTable", true, {.table = "result", .column = "doc", .validColumn = "own"}},
    {"TablesToClob", false, {}},
    {"CollectionToClob", true, {.source = "orders", .byName = true}},
};

// Memory that fails may cost the server the whole unit of work. Then it says so, once.
inline bool hasLostUnitOfWork(Database& db) {
  return db.session().run("values 1").outcome.sqlcode == -1476;
}

// The DTD has no content models: the parser allocates while it destroys these, and then nobody can
// catch what goes wrong.
//
// Without a temporary file of anybody else in the folder, and with a row of the caller's own in the
// unit of work.
class CompositionFaults : public testing::TestWithParam<FaultyComposition> {
 protected:
  CompositionFaults() : arguments_(GetParam().arguments) {
    db_.runScript(
        "create table orders (k integer, note clob(1m));"
        "create table part (o integer, k integer, color varchar(9));"
        "create table result (doc clob(1m), own integer);"
        "insert into orders values (1, '" +
        std::string(20000, 'n') +
        "'), (2, 'short');"
        "insert into part values (1, 10, 'red'), (1, 11, null), (2, 20, 'blue');"
        "insert into orvxml.dtd_ref (dtdid, usage_count, content) values ('o.dtd', 0,"
        " '<!ELEMENT o ANY><!ATTLIST o k CDATA #REQUIRED><!ELEMENT p EMPTY>"
        "<!ATTLIST p k CDATA #REQUIRED color CDATA #IMPLIED>')");
    const std::string mapping = GetParam().bySql ? byStatement() : byTables();
    if (arguments_.byName) {
      db_.addCollection(*arguments_.source, mapping);
    } else {
      arguments_.source = mapping;
    }
    EXPECT_FALSE(db_.session().commit().failed());
    beginOwnWork();
    success_ = db_.compose(ComposeForm::List, arguments_);
    EXPECT_EQ(success_.code, 0) << success_;
    stored_ = db_.rows("select * from result");
    db_.run("rollback to savepoint before_call");
  }

  void beginOwnWork() {
    db_.run("insert into result (doc) values ('mine')");
    db_.run("savepoint before_call on rollback retain cursors");
  }

  // A failure is one to its last output, a success is whole; the caller's row is there, no file is
  // left, and what the call stored can be undone.
  void judge(const ComposeOutcome& outcome) {
    EXPECT_TRUE(folder_.isEmpty());
    if (outcome.code < 0 && hasLostUnitOfWork(db_)) return beginOwnWork();
    if (outcome.code < 0) {
      EXPECT_NE(outcome.message, "");
      EXPECT_EQ(outcome.count, 0);
      EXPECT_EQ(outcome.document, std::nullopt);
      EXPECT_EQ(outcome.valid, std::nullopt);
      EXPECT_EQ(db_.rows("select doc from result where doc like 'mine'"), (Rows{{"mine"}}));
    } else {
      EXPECT_EQ(outcome, success_);
      EXPECT_EQ(db_.rows("select * from result"), stored_);
    }
    db_.run("rollback to savepoint before_call");
    EXPECT_EQ(db_.rows("select doc from result"), (Rows{{"mine"}}));
  }

  // Nothing of an earlier call is in the way of the next one, nor over its tables.
  void expectNothingLeftOpen() {
    for (const char* table : {"orders", "part"}) db_.run(std::string("drop table ") + table);
    db_.run("rollback to savepoint before_call");
    judge(db_.compose(ComposeForm::List, arguments_));
  }

  const TemporaryFolder folder_;
  const Variable folderForFiles_{"ORVQRKTEMP", folder_.path().c_str()};
  ComposeDatabase db_;
  ComposeArguments arguments_;
  ComposeOutcome success_;
  Rows stored_;  // by it

 private:
  static std::string mapping(const std::string& statement, const std::string& root) {
    return "<DAD><dtdid>o.dtd</dtdid><validation>YES</validation><Xcollection>" + statement +
           "<prolog>?xml version=\"1.0\"?</prolog><doctype>!DOCTYPE o SYSTEM \"o.dtd\"</doctype>"
           "<root_node>" +
           root + "</root_node></Xcollection></DAD>";
  }
  static std::string byTables() {
    const auto column = [](const std::string& table, const std::string& name) {
      return "<RDB_node><table name='" + table + "'/><column name='" + name + "'/></RDB_node>";
    };
    return mapping("",
                   "<element_node name='o'><RDB_node><table name='orders' orderBy='k'/>"
                   "<table name='part' orderBy='k'/><condition>orders.k = part.o</condition>"
                   "</RDB_node><attribute_node name='k'>" +
                       column("orders", "k") + "</attribute_node><text_node>" +
                       column("orders", "note") +
                       "</text_node><element_node name='p'><attribute_node name='k'>" +
                       column("part", "k") + "</attribute_node><attribute_node name='color'>" +
                       column("part", "color") + "</attribute_node></element_node></element_node>");
  }
  static std::string byStatement() {
    const auto attribute = [](const std::string& name, const std::string& column) {
      return "<attribute_node name='" + name + "'><column name='" + column + "'/></attribute_node>";
    };
    return mapping(
        "<SQL_stmt>SELECT o.k, o.note, p.k AS pk, p.color FROM orders o, part p WHERE o.k = p.o"
        " ORDER BY k, pk</SQL_stmt>",
        "<element_node name='o'>" + attribute("k", "K") +
            "<text_node><column name='NOTE'/></text_node><element_node name='p'>" +
            attribute("k", "PK") + attribute("color", "COLOR") + "</element_node></element_node>");
  }
};

inline std::string compositionName(const testing::TestParamInfo<FaultyComposition>& info) {
  return info.param.name;
}

}  // namespace orvxml::test
