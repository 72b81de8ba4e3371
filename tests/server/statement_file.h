// Statements with what they must give, as texts that a person can read and extend:
//
//   -- A comment. The database is a new one.
//   CREATE TABLE T(ID INTEGER NOT NULL PRIMARY KEY,
//     NAME VARCHAR(9))
//   => ok
//   INSERT INTO T VALUES(1, 'one'), (?, ?)
//   ? 2
//   ?
//   => 2 rows
//   SELECT * FROM T
//   => 1|one
//   => 2|-
//   SELECT * FROM T WHERE ID > 2
//   => no rows
//   INSERT INTO T(NAME) VALUES('none')
//   => -407 23502 APP.T.ID
//
// Lines that go on with a statement begin with a blank. Each line "? value" is the value of a
// marker, "?" alone is null. What follows "=>" is a row each, or "no rows", "N rows" that were
// changed, "ok", or a failure: SQLCODE, SQLSTATE and the tokens of its message. A null is "-"; a
// row that is empty or ends in a blank or in "|" is closed with a "|" more. Beside statements there
// are
//
//   ! session NAME       what follows runs in this session; the one at the beginning is "first"
//   ! reopen             ends the session without a commit and opens the database again
//   ! database NUMBER    a new database, in this code page
//   ! sqlite STATEMENTS  another program works on the file; at the beginning it makes it
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "server/session/prepared_statement.h"
#include "tests/server/outcome.h"
#include "tests/server/test_session.h"
#include "tests/support/sqlite_file.h"
#include "tests/support/temporary_folder.h"

namespace orv::test {

struct FileStep {
  int line = 0;
  std::string text;  // a statement, or what follows "!"
  bool isDirective = false;
  std::vector<std::optional<std::string>> values = {};
  std::string expected = {};
};

// Where a text is not as it should be, or gives something else.
struct Mismatch {
  int line;
  std::string message;
};

class StepReader {
 public:
  explicit StepReader(const std::string& content) {
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
      ++line_;
      take(line);
    }
    endStep();
    if (steps.empty()) complain("there is no step");
  }

  std::vector<FileStep> steps;
  std::vector<Mismatch> faults;

 private:
  void complain(const char* message) { faults.push_back({line_, message}); }

  void take(const std::string& line) {
    if (line.starts_with("--")) return;
    if (line.starts_with("=> ")) {
      if (step_.text.empty()) return complain("an outcome without a statement");
      step_.expected += (step_.expected.empty() ? "" : "\n") + line.substr(3);
    } else if (line == "?" || line.starts_with("? ")) {
      if (step_.text.empty()) return complain("a value without a statement");
      std::optional<std::string> value;
      if (line != "?") value = line.substr(2, line.size() - 2 - line.ends_with('|'));
      step_.values.push_back(value);
    } else if (line.starts_with(' ') && !step_.text.empty() && step_.expected.empty()) {
      step_.text += '\n' + line;
    } else {
      endStep();
      if (line.empty()) return;
      step_.line = line_;
      step_.isDirective = line.starts_with("! ");
      step_.text = line.substr(step_.isDirective ? 2 : 0);
    }
  }

  void endStep() {
    if (step_.text.empty()) return;
    if (step_.isDirective != step_.expected.empty()) complain("a statement without an outcome");
    steps.push_back(std::exchange(step_, {}));
  }

  int line_ = 0;
  FileStep step_;
};

// The database of a text.
class FileDatabase {
 public:
  // What the step gives, as the text says it.
  std::string run(const FileStep& step) {
    if (step.isDirective) return direct(step.text);
    session().makeCurrent();
    const std::string found = outcomeOf([&] { return outcome(step); });
    return found.ends_with(' ') ? closed(found) : found;
  }

 private:
  Session& session() {
    std::unique_ptr<TestSession>& session = sessions_[name_];
    if (!session && std::filesystem::exists(path_)) session = std::make_unique<TestSession>(path_);
    if (!session) session = std::make_unique<TestSession>(codePage_, path_);
    return **session;
  }

  std::string direct(const std::string& text) {
    const std::string word = text.substr(0, text.find(' '));
    const std::string rest = text.substr(std::min(text.size(), word.size() + 1));
    if (word == "sqlite") {
      orvxml::test::runSqlite(path_, rest);
    } else if (word == "reopen") {
      sessions_[name_].reset();
    } else if (word == "session") {
      name_ = rest;
    } else if (word == "database") {
      sessions_.clear();
      codePage_ = std::stoi(rest);
      path_ = folder_.path("sample" + rest);
    } else {
      return "unknown directive";
    }
    return "";
  }

  std::string outcome(const FileStep& step) {
    PreparedStatement statement(session().state(), step.text);
    statement.start();
    for (size_t i = 0; i < step.values.size(); ++i) {
      const auto& value = step.values[i];
      statement.bind(static_cast<int>(i), value ? ValueView::ofText(*value) : ValueView::null());
    }
    statement.run();
    if (statement.hasResult()) return rows(statement);
    return changesRows(statement.kind()) ? std::to_string(statement.rowCount()) + " rows" : "ok";
  }

  // A line that has an end to see.
  static std::string closed(const std::string& line) {
    return line.empty() || line.ends_with(' ') || line.ends_with('|') ? line + '|' : line;
  }

  static std::string rows(PreparedStatement& statement) {
    std::string all;
    while (statement.fetch()) {
      std::string row;
      for (size_t i = 0; i < statement.columns().size(); ++i) {
        const ValueView value = statement.column(static_cast<int>(i));
        std::string text = "-";
        if (value.kind != ValueView::Kind::Null) {
          text = valueText(value, statement.columns()[i].type, text);
        }
        row += (i > 0 ? "|" : "") + text;
      }
      all += (all.empty() ? "" : "\n") + closed(row);
    }
    return all.empty() ? "no rows" : all;
  }

  const orvxml::test::TemporaryFolder folder_;
  std::string path_ = folder_.path("sample");
  int codePage_ = 1208;
  std::map<std::string, std::unique_ptr<TestSession>> sessions_;
  std::string name_ = "first";  // of the one that is at work
};

// Runs all steps of a text. What is not as it says.
inline std::vector<Mismatch> mismatches(const std::string& content) {
  StepReader reader(content);
  if (!reader.faults.empty()) return reader.faults;
  std::vector<Mismatch> all;
  FileDatabase database;
  for (const FileStep& step : reader.steps) {
    const std::string found = database.run(step);
    if (found == step.expected) continue;
    all.push_back({step.line, step.text + "\ngives\n" + found + "\ninstead of\n" + step.expected});
  }
  return all;
}

}  // namespace orv::test
