// A database at the engine's own interface: statements in, rows and failures as text out.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/engine/engine.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"
#include "server/values/value_conversion.h"
#include "tests/server/outcome.h"

namespace orv {

using MarkerValue = std::optional<std::string>;

class EngineDatabase {
 public:
  explicit EngineDatabase(const std::string& path, bool create = true, int codePage = 1208)
      : engine_(openEngine(path, {create, codePage})), utf8_(codePage) {}

  // Rows as "a|b", one a line, null as "-"; "3 rows" for changes; "ok" for definitions; a failure
  // as "-803 23505 token,token".
  std::string run(std::string_view text, const std::vector<MarkerValue>& values = {}) {
    return outcomeOf([&] {
      engine_->begin(Access::None);
      std::unique_ptr<Statement> statement = parseStatement(text);
      resolve(*statement, engine_->catalog());
      switch (statement->kind) {
        case StatementKind::Select:
        case StatementKind::Insert:
        case StatementKind::Update:
        case StatementKind::Delete:
          return runPrepared(*statement, values);
        default:
          engine_->applyDdl(*statement);
          return std::string("ok");
      }
    });
  }

  Engine& engine() { return *engine_; }

 private:
  std::string runPrepared(const Statement& statement, const std::vector<MarkerValue>& values) {
    std::unique_ptr<EngineStatement> prepared = engine_->prepare(statement);
    std::vector<std::string> storage(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      ValueView value = values[i] ? ValueView::ofText(*values[i]) : ValueView::null();
      prepared->bind(static_cast<int>(i), convertValue(value, statement.markers[i].type, utf8_,
                                                       ConversionMode::Assignment, storage[i]));
    }
    std::string rows;
    while (prepared->step()) {
      const auto& columns = statement.query->columns;
      for (size_t i = 0; i < columns.size(); ++i) {
        std::string text;
        ValueView value = prepared->column(static_cast<int>(i));
        rows += i == 0 ? (rows.empty() ? "" : "\n") : "|";
        rows += value.kind == ValueView::Kind::Null ? "-" : valueText(value, columns[i].type, text);
      }
    }
    return statement.hasResult() ? rows : std::to_string(prepared->changes()) + " rows";
  }

  std::unique_ptr<Engine> engine_;
  TextLength utf8_;
};

struct Step {
  const char* statement;
  const char* expected;
  std::vector<MarkerValue> values = {};
};

inline void runSteps(EngineDatabase& database, const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    EXPECT_EQ(database.run(step.statement, step.values), step.expected) << step.statement;
  }
}

}  // namespace orv
