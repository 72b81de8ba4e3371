#include "sql_command.h"

#include <strings.h>

#include <algorithm>

#include "console.h"
#include "input_file.h"
#include "notice_log.h"
#include "open_database.h"
#include "refusal.h"
#include "result_writer.h"
#include "statement_values.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr int kNoRow = 100;

struct Script {
  std::string name;  // in front of messages, with the line
  std::string text;
};

struct Statement {
  std::string where;  // in front of messages
  std::string text;
};

std::vector<Script> readScripts(const SqlOptions& options) {
  std::vector<Script> scripts;
  for (size_t i = 0; i < options.statements.size(); ++i) {
    const std::string name = "<argument " + std::to_string(i + 1) + '>';
    scripts.push_back({name, plainTextAsUtf8(name, options.statements[i])});
  }
  if (!scripts.empty()) return scripts;
  const std::string path = options.file.empty() ? "-" : options.file;
  const std::string name = inputName(path);
  scripts.push_back({name, plainTextAsUtf8(name, readWhole(path))});
  return scripts;
}

std::vector<Statement> readStatements(const SqlOptions& options) {
  const StatementValues values(options.texts, options.textFiles);
  std::vector<Statement> statements;
  for (const Script& script : readScripts(options)) {
    for (const orv::ScriptStatement& statement : orv::splitScript(script.text)) {
      const std::string where = script.name + ':' + std::to_string(statement.line);
      statements.push_back({where, values.applyTo(statement.text, where)});
    }
  }
  return statements;
}

// What a CALL says by the output parameters with which the library's procedures report.
class ProcedureReport {
 public:
  explicit ProcedureReport(const std::string& statement)
      : isCall_(strncasecmp(statement.c_str(), "CALL", 4) == 0) {}

  void begin(const std::vector<orv::ResultColumn>& columns) {
    for (size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].name == "RETURNCODE") code_ = i;
      if (columns[i].name == "RETURNMSG") message_ = i;
    }
  }

  // Takes the newline from the end of the message: it would stand in a table as an escape.
  void take(std::vector<orv::ResultValue>& values) {
    if (!isCall_ || std::max(code_, message_) >= values.size()) return;
    hasFailed_ = values[code_].value_or("").starts_with('-');
    std::string text = values[message_].value_or("");
    if (text.ends_with('\n')) text.pop_back();
    if (values[message_]) values[message_] = text;
    text_ = std::move(text);
  }

  bool isCall() const { return isCall_; }
  bool hasFailed() const { return hasFailed_; }
  const std::string& text() const { return text_; }

 private:
  static constexpr size_t kAbsent = std::string::npos;
  bool isCall_;
  size_t code_ = kAbsent;
  size_t message_ = kAbsent;
  bool hasFailed_ = false;
  std::string text_;
};

class Runner {
 public:
  Runner(const Settings& settings, orv::Session& session, ResultFormat format)
      : settings_(settings), session_(session), writer_(makeResultWriter(format, stdout)) {}

  void run(const Statement& statement) {
    int64_t rows = 0;
    bool hasResult = false;
    ProcedureReport procedure(statement.text);
    NoticeLog notices;
    const orv::Result result = runListening(
        notices, statement.text,
        [&](const std::vector<orv::ResultColumn>& columns) {
          hasResult = true;
          procedure.begin(columns);
          writer_->begin(columns);
        },
        [&](std::vector<orv::ResultValue>& values) {
          ++rows;
          procedure.take(values);
          writer_->row(values);
          return std::ferror(stdout) == 0;
        });
    if (hasResult) writer_->end();
    if (result.outcome.failed()) refuse(statement, result.outcome, notices);
    if (procedure.hasFailed()) throw Failure(statement.where, procedure.text());
    warn(result.outcome, statement.where);
    notices.printWarnings(NamedText{statement.where, ""});
    if (!settings_.quiet && !procedure.isCall()) count(result, hasResult, rows);
  }

 private:
  template <class OnColumns, class OnRow>
  orv::Result runListening(NoticeLog& notices, const std::string& text, OnColumns&& onColumns,
                           OnRow&& onRow) {
    const Listening listening(notices);
    return session_.run(text, onColumns, onRow);
  }

  [[noreturn]] void refuse(const Statement& statement, const orv::Outcome& outcome,
                           const NoticeLog& notices) {
    session_.rollback();
    const Refusal refusal = refusalOf(session_, outcome, notices);
    std::string message =
        outcome.message.empty() ? "SQLCODE " + std::to_string(outcome.sqlcode) : outcome.message;
    message.erase(message.find_last_not_of('\n') + 1);
    if (!refusal.text.empty()) message += '\n' + refusal.text;
    throw Failure(statement.where, message);
  }

  static void warn(const orv::Outcome& outcome, const std::string& where) {
    if (outcome.sqlcode > 0 && outcome.sqlcode != kNoRow) printMessage(where, outcome.message);
  }

  static void count(const orv::Result& result, bool hasResult, int64_t rows) {
    if (hasResult) {
      printMessage("", countText(rows, "row"));
    } else if (result.rowCount > 0 || result.outcome.sqlcode == kNoRow) {
      printMessage("", countText(result.rowCount, "row"));
    }
  }

  const Settings& settings_;
  orv::Session& session_;
  std::unique_ptr<ResultWriter> writer_;
};

}  // namespace

void runSql(const Settings& settings, const SqlOptions& options) {
  if (!options.statements.empty() && !options.file.empty()) {
    throw Failure("", "give statements or --file, not both", kWrongUse);
  }
  if (options.csv && settings.json) throw Failure("", "give --csv or --json, not both", kWrongUse);
  requireDatabase(settings);
  const std::vector<Statement> statements = readStatements(options);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  const ResultFormat format = options.csv     ? ResultFormat::Csv
                              : settings.json ? ResultFormat::Json
                                              : ResultFormat::Table;
  // A session that ends without a commit rolls back, so a failure just leaves.
  Runner runner(settings, *session, format);
  for (const Statement& statement : statements) runner.run(statement);
  checkOutput();
  require(session->commit(), settings.database);
}

}  // namespace orvxml::command
