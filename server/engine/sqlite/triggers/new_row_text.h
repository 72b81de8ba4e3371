// What the BEFORE triggers of a change make of a new row: the SQL text of every column's value,
// trigger by trigger in the order of their creation.
//
// A text is written once for each place that reads the column. A value that costs something, or may
// differ the next time, is written once only: where a trigger reads such a column, the row so far
// becomes a query that is run by itself, and the texts name its columns from then on. Without rows
// to make a query of there is no such way.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "server/engine/sqlite/render/renderer.h"

namespace orv::sqlite {

// The name of the query that the texts refer to, which no table can have.
inline constexpr std::string_view kNewRow = "SYSNTQ.ROW";

class NewRowText {
 public:
  NewRowText(Renderer& renderer, const Table& table);

  // ---- The row as the statement gives it.
  // For INSERT: columns that are not given have their defaults.
  void setDefaults();
  // For UPDATE: both rows are the stored one, until columns are given.
  void setStored();
  void give(int column, std::string text, bool repeatable);
  // INSERT: the rows of a query, or of VALUES, which gives these columns.
  void giveRows(const std::vector<int>& columns, std::string_view query);
  // UPDATE: the rows of the table that `where` selects; empty: all.
  void giveStoredRows(const TriggerDefinitions& triggers, std::string_view where);

  // ---- What becomes of it.
  // False when that takes rows, and there are none.
  bool apply(const TriggerDefinition& trigger);
  bool apply(const TriggerDefinitions& triggers);

  const std::string& text(int column) const { return new_[static_cast<size_t>(column)]; }
  // After FROM; empty when there are no rows.
  const std::string& source() const { return source_; }

 private:
  bool isReady(const TriggerDefinition& trigger, const Expr& value) const;
  bool assign(const TriggerDefinition& trigger, const TriggerStep& step);
  bool makeQuery(std::string_view where = {});

  Renderer& renderer_;
  const Table& table_;
  Renderer::RowTexts new_;
  Renderer::RowTexts old_;
  std::vector<bool> repeatable_;         // parallel to new_
  std::vector<bool> newRead_, oldRead_;  // columns that a query must hand on
  std::string rowNumber_;                // UPDATE
  std::string condition_;                // of the trigger that is applied
  std::string source_;
};

// Columns that the triggers set, in the order of the table.
std::vector<int> columnsSet(const TriggerDefinitions& triggers);

}  // namespace orv::sqlite
