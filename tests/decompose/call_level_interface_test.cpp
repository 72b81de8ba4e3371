// What decomposition hands to the call-level interface. The definition here stands in front of the
// server's own, notes the parameter and passes it on.
#include <dlfcn.h>

#include <cstdio>
#include <utility>

#include "orvxml/code_pages.h"
#include "src/decompose/row_insert.h"
#include "src/decompose/target_table.h"
#include "src/server_access/cli_handles.h"
#include "tests/support/database.h"

namespace {

// The parameters bound last, by number.
struct Bound {
  SQLSMALLINT cType;
  std::string bytes;
  SQLINTEGER indicator;
  bool operator==(const Bound&) const = default;
};
std::vector<Bound> bound;

}  // namespace

extern "C" SQLRETURN SQLBindParameter(SQLHSTMT statement, SQLUSMALLINT number,
                                      SQLSMALLINT direction, SQLSMALLINT cType, SQLSMALLINT sqlType,
                                      SQLUINTEGER size, SQLSMALLINT digits, SQLPOINTER value,
                                      SQLINTEGER capacity, SQLINTEGER* indicator) {
  bound.resize(number);
  bound.back() = {cType, std::string(static_cast<char*>(value), static_cast<size_t>(capacity)),
                  *indicator};
  const auto real =
      reinterpret_cast<decltype(SQLBindParameter)*>(dlsym(RTLD_NEXT, "SQLBindParameter"));
  return real(statement, number, direction, cType, sqlType, size, digits, value, capacity,
              indicator);
}

namespace orvxml::test {
namespace {

// In a code page with shift states a graphic value has no shift bytes; a character value keeps
// them.
TEST(BoundValues, GraphicValuesLoseTheirShiftBytes) {
  Database db;
  db.run("create table p (c varchar(9), g vargraphic(9), h vargraphic(9), n vargraphic(9))");
  CallContext context;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* const stateful = getConverter(1399, &status);
  ASSERT_TRUE(U_SUCCESS(status));
  UConverter* const own = std::exchange(context.get()->codePages->dbConverter, stateful);

  std::vector<col2xml_entry> columns(4);
  for (size_t i = 0; i < columns.size(); ++i) {
    std::snprintf(columns[i].col, sizeof columns[i].col, "%c", "CGHN"[i]);
    std::snprintf(columns[i].dataType, kDataTypeSize, "%s",
                  i == 0 ? "varchar(9)" : "vargraphic(9)");
  }
  std::vector<char> statement(kStatementSize);
  tab table{};
  table.name[0] = 'P';
  table.num_col = 4;
  table.col2xml = columns.data();
  table.stmt = statement.data();
  ServerConnection connection(context);
  connection.open();
  generate_SQLi(context, table, table.stmt, kStatementSize);
  rel model{};
  model.hdbc = connection.handle();
  // Shift-out is 0x0E, shift-in 0x0F.
  const Value row[] = {{"\016AB\017", 4}, {"\016ABCD\017", 6}, {"\016AB", 3}, {}};
  {
    RowInserter inserter(context, &model, table);
    inserter.prepare();
    inserter.insert(row);
  }
  const std::vector<Bound> expected = {{SQL_C_CHAR, "\016AB\017", SQL_NTS},
                                       {SQL_C_DBCHAR, "ABCD", 4},
                                       {SQL_C_DBCHAR, "\016AB", 3},
                                       {SQL_C_DBCHAR, "", SQL_NULL_DATA}};
  EXPECT_TRUE(bound == expected);
  context.get()->codePages->dbConverter = own;
  ucnv_close(stateful);
}

}  // namespace
}  // namespace orvxml::test
