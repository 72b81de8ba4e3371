#include "src/decompose/target_table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "src/outcome/edge.h"
#include "tests/support/database.h"

namespace orvxml {
namespace {

using test::CallContext;
using test::Database;
using test::Row;
using test::Rows;

template <size_t N>
void put(char (&field)[N], const char* text) {
  std::snprintf(field, N, "%s", text);
}

// A table of a mapping, with the storage that its pointers need.
class MappedTable {
 public:
  MappedTable(const char* schema, const char* name) {
    columns_.reserve(kMaxColumnsPerTable);
    joins_.reserve(kMaxForeignKeys);
    put(table_.schema, schema);
    put(table_.name, name);
  }

  MappedTable& column(const char* name, const char* type) {
    col2xml_entry& entry = columns_.emplace_back();
    put(entry.col, name);
    put(entry.dataType, type);
    table_.col2xml = columns_.data();
    ++table_.num_col;
    return *this;
  }
  MappedTable& key(const char* name) {
    put(table_.pri_key.name[table_.pri_key.num++], name);
    return *this;
  }
  // A join of `name` with column `parentColumn` of a parent.
  MappedTable& join(const char* name, const MappedTable& parent, const char* parentColumn) {
    join_partner& partner = partners_.emplace_back();
    put(partner.schema, parent.table_.schema);
    put(partner.tab, parent.table_.name);
    put(partner.col, parentColumn);
    join_info_entry& entry = joins_.emplace_back();
    put(entry.col, name);
    entry.num_join = 1;
    entry.foreign = &partner;
    table_.join_info = joins_.data();
    ++table_.num_join;
    return *this;
  }
  // The same as a foreign key, supplied by the parent's mapped column.
  MappedTable& foreignKey(const char* name, MappedTable& parent, const char* parentColumn) {
    join(name, parent, parentColumn);
    foreign_key& key = table_.fk[table_.num_fk++];
    key.column = &joins_.back();
    for (col2xml_entry& entry : parent.columns_) {
      if (std::strcmp(entry.col, parentColumn) == 0) key.parent = &entry;
    }
    return *this;
  }
  MappedTable& condition(const char* text) {
    put(table_.condition, text);
    return *this;
  }
  tab* get() { return &table_; }

 private:
  tab table_{};
  std::vector<col2xml_entry> columns_;
  std::vector<join_info_entry> joins_;
  std::deque<join_partner> partners_;
};

std::string insertText(MappedTable& table, int size = kStatementSize) {
  QrkStruct context{};
  context.callFrom = CALL_FROM_STP;
  std::vector<char> statement(static_cast<size_t>(size));
  try {
    generate_SQLi(&context, *table.get(), statement.data(), size);
    return statement.data();
  } catch (const Failure& failure) {
    return failure.is(Msg::QRKG001E) ? "QRKG001E" : "another failure";
  }
}

TEST(InsertTextTest, ColumnsThenForeignKeysThenTheCondition) {
  MappedTable parent("S", "P");
  parent.column("ID", "INTEGER");
  MappedTable child("S", "T");
  child.column("C1", "VARCHAR(10)").column("C2", "INTEGER").foreignKey("FK", parent, "ID");
  child.condition("C2 > 0");
  EXPECT_EQ(insertText(child),
            "INSERT INTO \"S\".\"T\"(\"C1\",\"C2\",\"FK\") SELECT * FROM TABLE(VALUES(CAST(? AS "
            "VARCHAR(10)),CAST(? AS INTEGER),CAST(? AS INTEGER) )) AS T WHERE C2 > 0");
  MappedTable plain("", "a\"b");
  plain.column("x", "DATE");
  EXPECT_EQ(insertText(plain),
            "INSERT INTO \"a\"\"b\"(\"x\") SELECT * FROM TABLE(VALUES(CAST(? AS DATE) )) AS T");
}

TEST(InsertTextTest, ATextThatDoesNotFitIsAnInternalError) {
  MappedTable table("", "T");
  table.column("A", "INTEGER");
  const std::string whole = insertText(table);
  const int length = static_cast<int>(whole.size());
  EXPECT_EQ(insertText(table, length + 8), whole);
  for (int size = 1; size <= length; ++size) EXPECT_EQ(insertText(table, size), "QRKG001E");
  // A foreign key whose column nothing supplies.
  MappedTable orphan("", "T");
  orphan.column("A", "INTEGER").foreignKey("B", table, "NONE");
  EXPECT_EQ(insertText(orphan), "QRKG001E");
}

class TargetTableTest : public testing::Test {
 protected:
  int create(MappedTable& table, const char* tableSpace = "") {
    return report([&] { create_table(call_, *table.get(), tableSpace); });
  }
  int prepare(const std::vector<MappedTable*>& tables) {
    rel mapping{};
    for (MappedTable* table : tables) mapping.tab[mapping.num_of_tables++] = table->get();
    mapping.num_cond = 1;
    return report([&] { prepare_tables(call_, &mapping, ""); });
  }
  int check(MappedTable& table, int joins) {
    return report([&] { check_table(call_, joins, *table.get()); });
  }
  template <class Work>
  int report(Work&& work) {
    return atEdge({call_, call_.msg}, work);
  }
  std::string message() const { return call_.msg; }

  Database db_;
  CallContext call_;
};

TEST_F(TargetTableTest, MissingTablesAreCreatedWithTheirKeys) {
  MappedTable parent("", "P");
  parent.column("ID", "INTEGER").column("NAME", "VARCHAR(10)").key("ID");
  MappedTable child("S", "T");
  child.column("C1", "VARCHAR(10)").column("C2", "INTEGER").key("C1");
  child.foreignKey("FK", parent, "ID");
  MappedTable plain("", "A b");
  plain.column("x", "DECIMAL(10,2)");
  EXPECT_EQ(prepare({&parent, &child, &plain}), 0) << message();
  EXPECT_EQ(db_.rows("SELECT TABNAME, COLNAME, TYPENAME, NULLS FROM SYSCAT.COLUMNS WHERE TABSCHEMA "
                     "<> 'SYSCAT' AND TABSCHEMA <> 'ORVXML' ORDER BY TABNAME, COLNO"),
            (Rows{{"A b", "x", "DECIMAL", "Y"},
                  {"P", "ID", "INTEGER", "N"},
                  {"P", "NAME", "VARCHAR", "Y"},
                  {"T", "C1", "VARCHAR", "N"},
                  {"T", "C2", "INTEGER", "Y"},
                  {"T", "FK", "INTEGER", "Y"}}));
  db_.run("INSERT INTO S.T VALUES ('a', 1, 7)", -530);
  db_.run("INSERT INTO P VALUES (7, 'x')");
  db_.run("INSERT INTO S.T VALUES ('a', 1, 7)");
  db_.run("INSERT INTO S.T VALUES ('a', 2, 7)", -803);
  // Now they exist, and are what the mapping says.
  EXPECT_EQ(prepare({&parent, &child, &plain}), 0) << message();
}

TEST_F(TargetTableTest, ForeignKeysPointAtTheTableTheyAreJoinedWith) {
  MappedTable grandchild("", "G");
  MappedTable parent("", "P");
  parent.column("ID", "INTEGER").key("ID");
  MappedTable middle("", "M");
  // Both joins are with a column ID; only the second one is the foreign key.
  middle.column("OWN", "INTEGER").join("OWN", grandchild, "ID").foreignKey("PID", parent, "ID");
  EXPECT_EQ(prepare({&parent, &middle}), 0) << message();
  EXPECT_EQ(db_.rows("SELECT REFTABNAME FROM SYSCAT.REFERENCES WHERE TABNAME = 'M'"),
            (Rows{{"P"}}));
  // No clause names the parents of two keys, even where the first has a column of that name.
  MappedTable child("", "C");
  child.column("OWN", "INTEGER").foreignKey("PID", parent, "ID").foreignKey("MID", middle, "OWN");
  EXPECT_EQ(prepare({&child}), -111);
  EXPECT_EQ(message(), "QRKQ035E  Invalid join condition in top RDB_node of DAD: C.MID \n");
}

TEST_F(TargetTableTest, AFailedCreateNamesTheTable) {
  MappedTable table("", "T");
  table.column("A", "NO_SUCH_TYPE");
  EXPECT_EQ(create(table), -84);
  EXPECT_NE(message().find("QRKM001W  A ORV error occurred.\nQRKQ024E  Can not create table T.\n"),
            std::string::npos)
      << message();
  MappedTable spaced("", "T");
  spaced.column("A", "INTEGER");
  EXPECT_EQ(create(spaced, "NO_SUCH_SPACE"), -84);
  db_.run("CREATE TABLESPACE TS1");
  EXPECT_EQ(create(spaced, "TS1"), 0) << message();
  MappedTable wide("", "W");
  for (int i = 0; i < 300; ++i) wide.column(("COLUMN" + std::to_string(i)).c_str(), "INTEGER");
  EXPECT_EQ(create(wide), -57);
  EXPECT_EQ(message().substr(0, 8), "QRKG001E");
}

TEST_F(TargetTableTest, ExistingTablesMustHaveTheMappedTypes) {
  db_.run("CREATE DISTINCT TYPE S.MONEY AS DECIMAL(9,2) WITH COMPARISONS");
  db_.run(
      "CREATE TABLE S.T (I INTEGER, D DOUBLE, R REAL, V VARCHAR(30), C CHAR(5), N DECIMAL(10,2), "
      "L CLOB(500), M S.MONEY)");
  struct Case {
    const char* column;
    const char* type;
    int rc;
    const char* message;
  };
  static constexpr Case kCases[] = {
      {"I", "int", 0, ""},
      {"I", "SMALLINT", -82, "QRKQ022E  Column I of S.T should have type INTEGER.\n"},
      {"D", "float(53)", 0, ""},
      {"D", "DOUBLE PRECISION", 0, ""},
      {"D", "float", -82, "QRKQ022E  Column D of S.T should have type DOUBLE.\n"},
      {"R", "FLOAT(24)", 0, ""},
      {"R", "FLOAT(25)", -82, "QRKQ022E  Column R of S.T should have type REAL.\n"},
      {"V", "VARCHAR(20)", 0, ""},
      {"V", "char varying(30)", 0, ""},
      {"V", "VARCHAR(40)", -83, "QRKQ023E  Column V of S.T cannot be longer than 30.\n"},
      {"V", "VARCHAR(99999999999999999)", -83,
       "QRKQ023E  Column V of S.T cannot be longer than 30.\n"},
      {"C", "char(5)", 0, ""},
      {"C", "char(6)", -83, "QRKQ023E  Column C of S.T cannot be longer than 5.\n"},
      {"N", "num(10,2)", 0, ""},
      {"N", "DECIMAL(11,2)", -83, "QRKQ023E  Column N of S.T cannot be longer than 10.\n"},
      {"L", "clob(500)", 0, ""},
      {"M", "s.money", 0, ""},
      {"M", "DECIMAL(9,2)", -82, "QRKQ022E  Column M of S.T should have type MONEY.\n"},
      {"X", "INTEGER", -81, "QRKQ021E  Table S.T does not have column X.\n"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.column) + " " + c.type);
    MappedTable table("S", "T");
    table.column(c.column, c.type);
    call_.msg[0] = 0;
    EXPECT_EQ(check(table, 1), c.rc);
    EXPECT_EQ(message(), c.message);
  }
}

TEST_F(TargetTableTest, JoinColumnsMustExist) {
  db_.run("CREATE TABLE T (A INTEGER, FK INTEGER)");
  MappedTable parent("", "P");
  parent.column("ID", "INTEGER");
  MappedTable table("", "T");
  table.column("A", "INTEGER").foreignKey("FK", parent, "ID").foreignKey("FK2", parent, "ID");
  EXPECT_EQ(check(table, 1), 0) << message();
  EXPECT_EQ(check(table, 2), -81);
  EXPECT_EQ(message(), "QRKQ021E  Table T does not have column FK2.\n");
}

}  // namespace
}  // namespace orvxml
