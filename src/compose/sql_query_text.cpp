#include "src/compose/sql_query_text.h"

#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/outcome/failure.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

namespace {

constexpr char kDerivedTable[] = ") qrk_tab_exp ";

void appendNames(std::string& text, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (text.back() != ' ') text += ", ";
    text += delimitedName(name);
  }
}

// In the restriction a name stands unquoted: it must be one that the server reads as itself, else
// it would mean a number or another column.
void checkUndelimitedName(QrkStruct* ctx, const std::string& name) {
  char read[kColumnSize];
  if (qrkParseCol(ctx, name.c_str(), read, sizeof read) != 0 || name != read) {
    throw Failure(Msg::QRKQ033E, name);
  }
}

std::string ofPermittedLength(std::string text) {
  if (text.size() >= kStatementLimit) throw Failure(Msg::QRKQ038E, kStatementTooLong);
  return text;
}

std::string orderedBy(const std::string& key) {
  return kDerivedTable + ("ORDER BY " + delimitedName(key));
}

}  // namespace

std::vector<std::string> readLevel(QrkStruct* ctx, const level_map& levelMap, int level) {
  const char* list = qrkLmGetColumns(levelMap, level);
  std::vector<std::string> columns;
  for (; list && !isEndOfColumns(list); list += kLevelSlotSize) columns.emplace_back(list);
  if (!columns.empty()) return columns;
  QRK_TRACE(ctx, "qrkLmGetColumns returned error for Level %d.", level);
  throw Failure::internal();
}

std::string topQuery(const std::vector<std::string>& columns, const std::string& base) {
  std::string text = "SELECT ";
  appendNames(text, columns);
  return ofPermittedLength(text + " FROM (" + base + orderedBy(columns.front()));
}

std::string innerQuery(QrkStruct* ctx, const std::string& base, const std::string& parentKey) {
  checkUndelimitedName(ctx, parentKey);
  const std::string restriction = parentKey + "=?";
  QRK_TRACE(ctx, "childwhereclause = '%s'", restriction.c_str());
  return ofPermittedLength("SELECT * FROM (" + base + kDerivedTable + "WHERE " + restriction);
}

std::string childQuery(const std::vector<std::string>& keysAbove,
                       const std::vector<std::string>& columns, const std::string& inner) {
  std::string text = "SELECT ";
  appendNames(text, keysAbove);
  appendNames(text, columns);
  return ofPermittedLength(text + " FROM (" + inner + orderedBy(columns.front()));
}

}  // namespace orvxml
