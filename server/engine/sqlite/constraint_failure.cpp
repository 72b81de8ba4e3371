// SQLite's message is the only trace of which constraint it was: it names a check, or the columns
// of a key, and nothing for foreign keys. From these the catalog finds the key, and so the SQLCODE
// and its tokens.
#include "server/engine/sqlite/constraint_failure.h"

#include <sqlite3.h>

#include <algorithm>

namespace orv::sqlite {
namespace {

std::string_view afterColon(std::string_view text) {
  size_t colon = text.find(": ");
  return colon == std::string_view::npos ? std::string_view() : text.substr(colon + 2);
}

// "T.C1, T.C2" as the positions of C1 and C2 in the table; empty when it is something else.
std::vector<int> columnsOf(const Table& table, std::string_view text) {
  std::vector<int> columns;
  std::string prefix = table.storedName + ".";
  while (text.starts_with(prefix)) {
    text.remove_prefix(prefix.size());
    // Names may hold commas: the separator is the one before the table's name again.
    size_t end = text.find(", " + prefix);
    std::string_view name = text.substr(0, end);
    for (size_t i = 0; i < table.columns.size(); ++i) {
      if (table.columns[i].storedName == name) columns.push_back(static_cast<int>(i));
    }
    if (end == std::string_view::npos) return columns;
    text.remove_prefix(end + 2);
  }
  return {};
}

bool sameColumns(std::vector<int> a, std::vector<int> b) {
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  return a == b;
}

}  // namespace

ConstraintNames::ConstraintNames(const Statement& statement,
                                 std::shared_ptr<const CatalogData> catalog)
    : catalog_(std::move(catalog)), kind_(statement.kind) {
  if (statement.table) table_ = catalog_->findTable(statement.table->schema, statement.table->name);
  for (const Assignment& assignment : statement.assignments) {
    assigned_.push_back(assignment.columnIndex);
  }
}

std::string ConstraintNames::tableName() const {
  return table_ ? table_->schema + "." + table_->name : std::string();
}

SqlError ConstraintNames::failure(int extendedCode, std::string_view text) const {
  ConstraintNames about = *this;
  about.table_ = tableNamedBy(extendedCode, afterColon(text));
  return about.failureOfTable(extendedCode, text);
}

// The statement's own table, unless the text names another one, which a trigger changes.
const Table* ConstraintNames::tableNamedBy(int extendedCode, std::string_view text) const {
  const bool check = extendedCode == SQLITE_CONSTRAINT_CHECK;
  const auto isNamed = [&](const Table& table) {
    return check
               ? std::ranges::find(table.checks, text, &CheckConstraint::name) != table.checks.end()
               : !columnsOf(table, text).empty();
  };
  if (extendedCode == SQLITE_CONSTRAINT_FOREIGNKEY || (table_ && isNamed(*table_))) return table_;
  for (const auto& table : catalog_->tables) {
    if (isNamed(*table)) return table.get();
  }
  return table_;
}

SqlError ConstraintNames::failureOfTable(int extendedCode, std::string_view text) const {
  switch (extendedCode) {
    case SQLITE_CONSTRAINT_UNIQUE:
    case SQLITE_CONSTRAINT_PRIMARYKEY:
    case SQLITE_CONSTRAINT_ROWID:
      return uniqueFailure(afterColon(text));
    case SQLITE_CONSTRAINT_NOTNULL: {
      std::string column(afterColon(text));
      std::vector<int> found;
      if (table_) found = columnsOf(*table_, column);
      if (table_ && !found.empty()) {
        column = tableName() + "." + table_->columns[static_cast<size_t>(found.front())].name;
      }
      return SqlError(-407, {column});
    }
    case SQLITE_CONSTRAINT_CHECK:
      return SqlError(-545, {std::string(afterColon(text)), tableName()});
    case SQLITE_CONSTRAINT_FOREIGNKEY:
      return foreignKeyFailure();
    default:
      return SqlError(-901, {std::string(text)});
  }
}

SqlError ConstraintNames::nullKeyFailure() const {
  auto column = static_cast<size_t>(table_->primaryKey->columns.front());
  return SqlError(-407, {tableName() + "." + table_->columns[column].name});
}

SqlError ConstraintNames::uniqueFailure(std::string_view columns) const {
  std::string name(columns);
  if (table_) {
    std::vector<int> found = columnsOf(*table_, columns);
    std::vector<const Key*> keys;
    if (table_->primaryKey) keys.push_back(&*table_->primaryKey);
    for (const Key& key : table_->uniqueKeys) keys.push_back(&key);
    for (const auto& index : catalog_->indexes) {
      if (!index->unique || index->tableSchema != table_->schema ||
          index->tableName != table_->name) {
        continue;
      }
      std::vector<int> indexed;
      for (const auto& column : index->columns) {
        indexed.push_back(table_->columnIndex(column.first));
      }
      if (sameColumns(indexed, found)) name = index->name;
    }
    for (const Key* key : keys) {
      if (sameColumns(key->columns, found)) name = key->name;
    }
  }
  return SqlError(-803, {name, tableName()});
}

bool ConstraintNames::refersTo(const ForeignKey& key) const {
  return table_ && key.parentSchema == table_->schema && key.parentTable == table_->name;
}

// SQLite does not say which key it was: it is one of the table's own when rows come in or its
// columns change, and one that refers to the table when rows go or change.
SqlError ConstraintNames::foreignKeyFailure() const {
  if (!table_) return SqlError(-530, {""});
  std::string own;
  for (const ForeignKey& key : table_->foreignKeys) {
    bool changed = kind_ == StatementKind::Insert ||
                   std::any_of(key.columns.begin(), key.columns.end(), [&](int column) {
                     return std::count(assigned_.begin(), assigned_.end(), column) > 0;
                   });
    if (changed) own.append(own.empty() ? "" : ", ").append(key.name);
  }
  if (!own.empty() || kind_ == StatementKind::Insert) {
    return SqlError(-530, {tableName() + "." + own});
  }
  std::string children;
  for (const auto& table : catalog_->tables) {
    for (const ForeignKey& key : table->foreignKeys) {
      if (!refersTo(key)) continue;
      children.append(children.empty() ? "" : ", ");
      children.append(table->schema).append(".").append(table->name).append(".").append(key.name);
    }
  }
  return SqlError(kind_ == StatementKind::Delete ? -532 : -531, {children});
}

}  // namespace orv::sqlite
