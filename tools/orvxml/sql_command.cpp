#include "sql_command.h"

#include "console.h"
#include "database.h"
#include "input_file.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr int kNoRow = 100;

struct Script {
  std::string name;  // in front of messages, with the line
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

class Runner {
 public:
  Runner(const Settings& settings, orv::Session& session, ResultFormat format)
      : settings_(settings), session_(session), writer_(makeResultWriter(format, stdout)) {}

  void run(const std::string& text, const std::string& where) {
    int64_t rows = 0;
    bool hasResult = false;
    const orv::Result result = session_.run(
        text,
        [&](const std::vector<orv::ResultColumn>& columns) {
          hasResult = true;
          writer_->begin(columns);
        },
        [&](const std::vector<orv::ResultValue>& values) {
          ++rows;
          writer_->row(values);
          return std::ferror(stdout) == 0;
        });
    if (hasResult) writer_->end();
    require(result.outcome, where);
    report(result, where, hasResult, rows);
  }

 private:
  void report(const orv::Result& result, const std::string& where, bool hasResult, int64_t rows) {
    const orv::Outcome& outcome = result.outcome;
    if (outcome.sqlcode > 0 && outcome.sqlcode != kNoRow) printMessage(where, outcome.message);
    if (settings_.quiet) return;
    if (hasResult) {
      printMessage("", countText(rows, "row"));
    } else if (result.rowCount > 0 || outcome.sqlcode == kNoRow) {
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
  const std::vector<Script> scripts = readScripts(options);
  const std::unique_ptr<orv::Session> session = openDatabase(settings);
  const ResultFormat format = options.csv     ? ResultFormat::Csv
                              : settings.json ? ResultFormat::Json
                                              : ResultFormat::Table;
  // A session that ends without a commit rolls back, so a failure just leaves.
  Runner runner(settings, *session, format);
  for (const Script& script : scripts) {
    for (const orv::ScriptStatement& statement : orv::splitScript(script.text)) {
      runner.run(statement.text, script.name + ':' + std::to_string(statement.line));
    }
  }
  checkOutput();
  require(session->commit(), settings.database);
}

}  // namespace orvxml::command
