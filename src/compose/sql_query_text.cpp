#include "src/compose/sql_query_text.h"

#include "orvxml/trace.h"
#include "src/compose/composition.h"
#include "src/compose/modules.h"
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
int checkUndelimitedName(const Report& report, const std::string& name) {
  char read[kColumnSize];
  if (qrkParseCol(report.ctx, name.c_str(), read, sizeof read) == 0 && name == read) return 0;
  return failed(report, Msg::QRKQ033E, name);
}

int checkLength(const Report& report, const std::string& text) {
  if (text.size() < kStatementLimit) return 0;
  return failed(report, Msg::QRKQ038E, kStatementTooLong);
}

}  // namespace

int readLevel(const Report& report, const level_map* levelMap, int level,
              std::vector<std::string>& columns) {
  const char* list = nullptr;
  const int rc = qrkLmGetColumns(report.ctx, levelMap, level, &list);
  columns.clear();
  for (; list && !isEndOfColumns(list); list += kLevelSlotSize) columns.emplace_back(list);
  if (!columns.empty()) return 0;
  QRK_TRACE(report.ctx, "qrkLmGetColumns returned error for Level %d.", level);
  failInternal(report, kSqlMappingModule, __LINE__);
  if (rc && report.errCode) *report.errCode = rc;
  return -1;
}

int topQuery(const Report& report, const std::vector<std::string>& columns, const std::string& base,
             std::string& text) {
  text = "SELECT ";
  appendNames(text, columns);
  text += " FROM (" + base + kDerivedTable + "ORDER BY " + delimitedName(columns.front());
  return checkLength(report, text);
}

int innerQuery(const Report& report, const std::string& base, const std::string& parentKey,
               std::string& text) {
  if (int rc = checkUndelimitedName(report, parentKey)) return rc;
  const std::string restriction = parentKey + "=?";
  QRK_TRACE(report.ctx, "childwhereclause = '%s'", restriction.c_str());
  text = "SELECT * FROM (" + base + kDerivedTable + "WHERE " + restriction;
  return checkLength(report, text);
}

int childQuery(const Report& report, const std::vector<std::string>& keysAbove,
               const std::vector<std::string>& columns, const std::string& inner,
               std::string& text) {
  text = "SELECT ";
  appendNames(text, keysAbove);
  appendNames(text, columns);
  text += " FROM (" + inner + kDerivedTable + "ORDER BY " + delimitedName(columns.front());
  return checkLength(report, text);
}

}  // namespace orvxml
