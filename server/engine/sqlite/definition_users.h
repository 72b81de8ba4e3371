// The triggers and views that use a table, view, alias, function or type: those that do not mean
// the same without it.
#pragma once

#include <map>
#include <string>

#include "server/catalog/catalog_data.h"
#include "server/syntax/ast.h"

namespace orv::sqlite {

class DefinitionUsers {
 public:
  // What the definitions mean before `statement`. Nothing is noted for a statement that takes
  // nothing away from them.
  DefinitionUsers(const Statement& statement, const CatalogData& data, const Catalog& catalog);
  // After it: -478 with the first definition that has come to mean something else, or nothing.
  void requireUnchanged(const CatalogData& data, const Catalog& catalog) const;

  bool any() const { return !meanings_.empty(); }

 private:
  using Meanings = std::map<std::string, std::string>;  // by kind and name
  static Meanings meaningsOf(const CatalogData& data, const Catalog& catalog);

  std::string dropped_;
  Meanings meanings_;
};

}  // namespace orv::sqlite
