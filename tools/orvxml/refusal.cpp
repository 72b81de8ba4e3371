#include "refusal.h"

#include "database.h"
#include "usage.h"

namespace orvxml::command {

namespace {

// The side table columns that take the values of a path: "column KB of MAIL_SIZE, a side table of
// APP.MAIL.DOC".
std::string takersOf(orv::Session& session, const std::string& path) {
  std::string takers;
  if (!isEnabled(session, "")) return takers;
  for (const Usage& usage : readUsage(session, "")) {
    if (usage.isCollection) continue;
    const ColumnMapping mapping = readColumnMapping(usage.mapping);
    const side_table* table = mapping.model ? mapping.model->sideTables : nullptr;
    for (; table; table = table->next) {
      for (const side_column* column = table->columns; column; column = column->next) {
        if (path != column->path) continue;
        takers += (takers.empty() ? "" : ", or ") + std::string("column ") + column->name +
                  " of side table " + table->name + " of " + usage.qualifiedTable() + '.' +
                  usage.name;
      }
    }
  }
  return takers;
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

Refusal refusalOf(orv::Session& session, std::string_view sqlState, const NoticeLog& notices) {
  const Notice* const reason = notices.reason();
  // A refusal by a function or a trigger, or a value that does not fit.
  const bool isRefusal = sqlState.starts_with("38") || sqlState.starts_with("22");
  if (!reason || !isRefusal) return {};
  if (std::string_view(reason->rule) == "parser") return parserRefusal(*reason, notices.failure());
  try {
    const std::string takers = takersOf(session, reason->text);
    return {"reason: the value of " + reason->text + (takers.empty() ? "" : ", for " + takers), {}};
  } catch (const Failure&) {
    return {"reason: the value of " + reason->text, {}};
  }
}

}  // namespace orvxml::command
