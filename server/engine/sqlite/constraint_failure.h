// What a violated constraint is about: SQLite names columns at best; the catalog knows the rest.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "server/catalog/catalog_data.h"
#include "server/syntax/ast.h"
#include "server/values/sql_error.h"

namespace orv::sqlite {

// Reads the failures of one statement. It keeps what it needs of the statement and the catalog.
class ConstraintNames {
 public:
  ConstraintNames(const Statement& statement, std::shared_ptr<const CatalogData> catalog);
  SqlError failure(int extendedCode, std::string_view text) const;
  // A null for the single INTEGER key, which SQLite would number by itself.
  SqlError nullKeyFailure() const;

 private:
  const Table* tableNamedBy(int extendedCode, std::string_view text) const;
  SqlError failureOfTable(int extendedCode, std::string_view text) const;
  SqlError uniqueFailure(std::string_view columns) const;
  SqlError foreignKeyFailure() const;
  std::string tableName() const;
  bool refersTo(const ForeignKey& key) const;

  std::shared_ptr<const CatalogData> catalog_;
  const Table* table_ = nullptr;
  StatementKind kind_;
  std::vector<int> assigned_;  // columns that an UPDATE sets
};

}  // namespace orv::sqlite
