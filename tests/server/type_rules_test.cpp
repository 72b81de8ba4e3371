#include "server/values/type_rules.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace orv {
namespace {

using Kind = TypeKind;

// The kinds in the order of the grids below; Unknown separates groups.
constexpr Kind kKinds[] = {Kind::Integer, Kind::Decimal,  Kind::Double,      Kind::Unknown,
                           Kind::Char,    Kind::Varchar,  Kind::LongVarchar, Kind::Clob,
                           Kind::Unknown, Kind::CharBits, Kind::VarcharBits, Kind::Blob,
                           Kind::Unknown, Kind::Graphic,  Kind::VarGraphic,  Kind::DbClob,
                           Kind::Unknown, Kind::Date,     Kind::Time,        Kind::Timestamp};

struct GridRow {
  Kind kind;
  const char* cells;  // one for each kind that meets it: # yes, . no
};

void expectGrid(std::initializer_list<GridRow> grid,
                const std::function<bool(const SqlType&, const SqlType&)>& together) {
  for (const GridRow& row : grid) {
    std::string found;
    for (const Kind kind : kKinds) {
      const bool yes = together(makeType(row.kind, 5), makeType(kind, 5));
      found += kind == Kind::Unknown ? ' ' : yes ? '#' : '.';
    }
    EXPECT_EQ(found, row.cells) << typeText(makeType(row.kind, 5));
  }
}

TEST(TypeRulesTest, TypesCompareWithinTheirFamilyAndTextsWithDates) {
  expectGrid({{Kind::Integer, "### .... ... ... ..."},
              {Kind::Double, "### .... ... ... ..."},
              {Kind::Char, "... ###. ##. ... ###"},
              {Kind::LongVarchar, "... ###. ##. ... ###"},
              {Kind::Clob, "... .... ... ... ..."},
              {Kind::VarcharBits, "... ###. ##. ... ..."},
              {Kind::Blob, "... .... ... ... ..."},
              {Kind::Graphic, "... .... ... ##. ..."},
              {Kind::DbClob, "... .... ... ... ..."},
              {Kind::Date, "... ###. ... ... #.."},
              {Kind::Timestamp, "... ###. ... ... ..#"}},
             [](const SqlType& a, const SqlType& b) { return baseComparable(a, b, false); });
  expectGrid({{Kind::Varchar, "... ###. ##. ##. ###"}, {Kind::VarGraphic, "... ###. ... ##. ..."}},
             [](const SqlType& a, const SqlType& b) { return baseComparable(a, b, true); });
}

TEST(TypeRulesTest, TargetsTakeValuesThatNeedNoCast) {
  expectGrid({{Kind::Integer, "### .... ... ... ..."},
              {Kind::Decimal, "### .... ... ... ..."},
              {Kind::Varchar, "... #### ##. ... ###"},
              {Kind::Clob, "... #### ##. ... ..."},
              {Kind::CharBits, "... ###. ##. ... ..."},
              {Kind::Blob, "... .... ### ... ..."},
              {Kind::VarGraphic, "... .... ... ### ..."},
              {Kind::Date, "... ###. ... ... #.."},
              {Kind::Time, "... ###. ... ... .#."}},
             [](const SqlType& a, const SqlType& b) { return baseAssignable(a, b, false); });
  expectGrid({{Kind::Varchar, "... #### ##. ### ###"}, {Kind::DbClob, "... #### ... ### ..."}},
             [](const SqlType& a, const SqlType& b) { return baseAssignable(a, b, true); });
}

TEST(TypeRulesTest, CastsExist) {
  expectGrid({{Kind::Integer, "### ###. ... ... ..."},
              {Kind::Char, "### #### ##. ### ###"},
              {Kind::Clob, "### #### ##. ### ###"},
              {Kind::VarcharBits, "... #### ### ### ..."},
              {Kind::Blob, "... #### ### ### ..."},
              {Kind::Graphic, "... #### ##. ### ..."},
              {Kind::Date, "... ###. ... ... #.#"},
              {Kind::Time, "... ###. ... ... .##"},
              {Kind::Timestamp, "... ###. ... ... ..#"}},
             baseCastable);
}

std::string textOf(const std::optional<SqlType>& type) {
  return type ? typeText(*type) : "-";
}

TEST(TypeRulesTest, OperationsOnTwoTypesHaveTheirResultType) {
  struct Case {
    SqlType a, b;
    const char *common, *concat;
  };
  const auto chars = [](int64_t n) { return makeType(Kind::Char, n); };
  const auto varchar = [](int64_t n) { return makeType(Kind::Varchar, n); };
  const auto decimal = [](int64_t p, int s) { return makeType(Kind::Decimal, p, s); };
  const Case kCases[] = {
      {makeType(Kind::SmallInt), makeType(Kind::BigInt), "BIGINT", "-"},
      {makeType(Kind::Integer), decimal(5, 2), "DECIMAL(13,2)", "-"},
      {decimal(31, 0), decimal(10, 5), "DECIMAL(31,5)", "-"},
      {makeType(Kind::Real), makeType(Kind::Real), "REAL", "-"},
      {makeType(Kind::Real), makeType(Kind::Integer), "DOUBLE", "-"},
      {chars(3), chars(8), "CHAR(8)", "CHAR(11)"},
      {chars(200), chars(100), "CHAR(200)", "VARCHAR(300)"},
      {chars(10), varchar(5), "VARCHAR(10)", "VARCHAR(15)"},
      {varchar(32000), varchar(1000), "VARCHAR(32000)", "LONG VARCHAR"},
      {varchar(10), makeType(Kind::Clob, 2147483647), "CLOB(2147483647)", "CLOB(2147483647)"},
      {chars(4), makeType(Kind::VarcharBits, 6), "VARCHAR(6) FOR BIT DATA",
       "VARCHAR(10) FOR BIT DATA"},
      {makeType(Kind::Graphic, 100), makeType(Kind::Graphic, 100), "GRAPHIC(100)",
       "VARGRAPHIC(200)"},
      {makeType(Kind::Graphic, 3), chars(3), "-", "-"},
      {makeType(Kind::Blob, 5), makeType(Kind::Clob, 5), "-", "-"},
      {makeType(Kind::Date), varchar(10), "DATE", "-"},
      {makeType(Kind::Date), makeType(Kind::Timestamp), "-", "-"},
      {makeType(Kind::Integer), varchar(10), "-", "-"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(typeText(c.a) + " with " + typeText(c.b));
    EXPECT_EQ(textOf(commonBase(c.a, c.b)), c.common);
    EXPECT_EQ(textOf(commonBase(c.b, c.a)), c.common);
    EXPECT_EQ(textOf(concatType(c.a, c.b)), c.concat);
  }
  EXPECT_EQ(typeText(arithmeticType("*", decimal(20, 10), decimal(20, 5))), "DECIMAL(31,15)");
  EXPECT_EQ(typeText(arithmeticType("+", decimal(31, 2), decimal(5, 4))), "DECIMAL(31,4)");
  EXPECT_EQ(typeText(arithmeticType("/", decimal(31, 0), decimal(9, 8))), "DECIMAL(31,0)");
  EXPECT_EQ(typeText(arithmeticType("-", makeType(Kind::BigInt), decimal(3, 1))), "DECIMAL(21,1)");
}

}  // namespace
}  // namespace orv
