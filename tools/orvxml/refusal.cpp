#include "refusal.h"

#include <strings.h>

#include "open_database.h"
#include "usage.h"

namespace orvxml::command {

namespace {

constexpr int kFunctionFailed = -443;

// The column that a message of the server names, "SCHEMA.TABLE.COLUMN"; empty where it names none.
std::string columnOf(const std::string& message) {
  constexpr std::string_view kLabel = "Column: ";
  const size_t at = message.find(kLabel);
  if (at == std::string::npos) return "";
  const std::string rest = message.substr(at + kLabel.size());
  return rest.substr(0, rest.find_first_of(" \n"));
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
  const std::string column = columnOf(outcome.message);
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

// What follows line and column in a message of the parser.
std::string wordsOf(const std::string& message) {
  const size_t column = message.find(" column ");
  const size_t words = column == std::string::npos ? column : message.find(": ", column);
  std::string text = words == std::string::npos ? message : message.substr(words + 2);
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

// What the parser says of the document, or of the schema or DTD that it is judged by.
Refusal parserRefusal(const Notice& reason, const Notice* failure) {
  const std::optional<Position> position = parserPosition(reason.text);
  if (failure && !failure->file.empty()) {
    const std::string place = position ? located(failure->file, *position) : failure->file;
    return {"reason: " + place + ": " + wordsOf(reason.text), {}};
  }
  const std::string place =
      position ? "line " + position->line + ", column " + position->column + ": " : "";
  return {"reason: " + place + wordsOf(reason.text), position};
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
