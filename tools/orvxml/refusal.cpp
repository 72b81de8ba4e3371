#include "refusal.h"

#include <strings.h>

#include "open_database.h"
#include "usage.h"

namespace orvxml::command {

namespace {

constexpr int kFunctionFailed = -443;

// The column that an outcome names, "SCHEMA.TABLE.COLUMN"; empty where it names none. Its messages
// about a value may have it as their last token.
std::string columnOf(const orv::Outcome& outcome) {
  static constexpr std::pair<int, size_t> kTokens[] = {{-180, 2}, {-181, 2}, {-191, 1}, {-408, 2},
                                                       {-413, 1}, {-420, 3}, {-433, 2}};
  for (const auto& [sqlcode, tokens] : kTokens) {
    if (outcome.sqlcode == sqlcode && outcome.tokens.size() == tokens) return outcome.tokens.back();
  }
  return "";
}

// Whether `column` is TABLE.COLUMN of a mapping, as far as the mapping says it.
bool isColumn(const std::string& column, const side_table& table, const side_column& mapped) {
  const std::string name = '.' + std::string(table.name) + '.' + mapped.name;
  const std::string whole = '.' + column;
  return whole.size() >= name.size() &&
         strcasecmp(whole.c_str() + (whole.size() - name.size()), name.c_str()) == 0;
}

// The side table columns that take the values of a path: "column KB of side table MAIL_SIZE of
// APP.MAIL.DOC". With `only`, that one.
std::string takersOf(orv::Session& session, const std::string& path, const std::string& only) {
  std::string takers;
  if (!isEnabled(session, "")) return takers;
  for (const Usage& usage : readUsage(session, "")) {
    if (usage.isCollection) continue;
    const ColumnMapping mapping = readColumnMapping(usage.mapping);
    const side_table* table = mapping.model ? mapping.model->sideTables : nullptr;
    for (; table; table = table->next) {
      for (const side_column* column = table->columns; column; column = column->next) {
        if (path != column->path || (!only.empty() && !isColumn(only, *table, *column))) continue;
        takers += (takers.empty() ? "" : ", or ") + std::string("column ") + column->name +
                  " of side table " + table->name + " of " + usage.qualifiedTable() + '.' +
                  usage.name;
      }
    }
  }
  return takers;
}

// The value that was taken out of a document last is the one refused when its function says so or
// the message names its column; where no column is named it may be another one's.
Refusal valueRefusal(orv::Session& session, const orv::Outcome& outcome, const std::string& path) {
  const bool isFunction = outcome.sqlcode == kFunctionFailed;
  const std::string column = columnOf(outcome);
  if (!isFunction && !outcome.sqlstate.starts_with("22")) return {};
  std::string takers;
  try {
    takers = takersOf(session, path, column);
  } catch (const Failure&) {
  }
  if (takers.empty() && !isFunction) return {};
  const char* const start =
      isFunction || !column.empty() ? "reason: the value of " : "reason, probably: the value of ";
  return {start + path + (takers.empty() ? "" : ", for " + takers), {}};
}

// What the parser says of the document, or of the schema or DTD that it is judged by.
Refusal parserRefusal(const Notice& reason, const Notice* failure) {
  const std::optional<Position> position = parserPosition(reason);
  if (failure && !failure->file.empty()) {
    const std::string place = position ? located(failure->file, *position) : failure->file;
    return {"reason: " + place + ": " + reason.text, {}};
  }
  return {"reason: " + placedText(reason), position};
}

}  // namespace

Refusal refusalOf(orv::Session& session, const orv::Outcome& outcome, const NoticeLog& notices) {
  const Notice* const reason = notices.reason();
  // A refusal by a function or a trigger, or a value that does not fit.
  const bool isRefusal = outcome.sqlstate.starts_with("38") || outcome.sqlstate.starts_with("22");
  if (!reason || !isRefusal) return {};
  if (std::string_view(reason->rule) == "parser") return parserRefusal(*reason, notices.failure());
  return valueRefusal(session, outcome, reason->text);
}

}  // namespace orvxml::command
