// The documents of a composition, in the order in which they were made.
#pragma once

#include "tests/support/compose_calls.h"

namespace orvxml::test {

// Composes all documents of a mapping into a result table that exists for this call alone.
inline std::vector<std::string> composedDocuments(ComposeDatabase& db, const std::string& dad,
                                                  ComposeForm form = ComposeForm::Call) {
  db.run("create table composed (document clob(100m))");
  ComposeArguments arguments;
  arguments.source = dad;
  arguments.table = "COMPOSED";
  const ComposeOutcome outcome = db.compose(form, arguments);
  EXPECT_EQ(outcome.code, 0) << outcome;
  std::vector<std::string> documents;
  for (Row& row : db.rows("select document from composed")) {
    documents.push_back(std::move(row.front()));
  }
  EXPECT_EQ(outcome.count.value_or(-1), static_cast<int>(documents.size()));
  db.run("drop table composed");
  return documents;
}

}  // namespace orvxml::test
