// The content of one database's catalog in memory, as an engine has read it: plain lists, and the
// lookups over them. It is built once, finished with `index()`, and never changed after that, so
// that compiled statements may share and keep it.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/resolve/catalog.h"

namespace orv {

class CatalogData : public CatalogContent {
 public:
  int codePage = 1208;
  std::string defaultSchema = "APP";
  std::set<std::string, std::less<>> schemas;
  std::set<std::string, std::less<>> tableSpaces;
  std::vector<std::unique_ptr<Table>> tables;  // system views included
  std::vector<std::unique_ptr<Index>> indexes;
  std::vector<std::unique_ptr<DistinctType>> types;
  std::vector<std::unique_ptr<Procedure>> procedures;
  std::vector<std::unique_ptr<Function>> functions;
  std::vector<std::unique_ptr<Trigger>> triggers;  // in the order of their creation
  std::vector<std::unique_ptr<View>> views;        // those of other programs excepted
  std::vector<Package> packages;
  std::vector<TablePrivilege> privileges;  // by table and grantee

  // Prepares the lookups; call once after filling the lists. Of two tables with one name the first
  // in the list is the one that is found.
  void index();

  int databaseCodePage() const override { return codePage; }
  const Table* findTable(std::string_view schema, std::string_view name) const override;
  const Index* findIndex(std::string_view schema, std::string_view name) const override;
  const DistinctType* findType(std::string_view schema, std::string_view name) const override;
  const Procedure* findSpecificProcedure(std::string_view schema,
                                         std::string_view specific) const override;
  std::vector<const Procedure*> proceduresNamed(std::string_view schema,
                                                std::string_view name) const override;
  std::vector<const Function*> functionsNamed(std::string_view schema,
                                              std::string_view name) const override;
  const Function* findSpecificFunction(std::string_view schema,
                                       std::string_view specific) const override;
  std::vector<const Table*> childrenOf(const Table& parent) const override;
  std::vector<const Trigger*> triggersOn(const Table& table) const override;
  const Trigger* findTrigger(std::string_view schema, std::string_view name) const override;
  bool tableSpaceExists(std::string_view name) const override { return tableSpaces.contains(name); }
  bool schemaExists(std::string_view name) const override;
  std::optional<Package> findPackage(std::string_view qualifier,
                                     std::string_view name) const override;

 private:
  std::unordered_map<std::string, const Table*> byName_;
  std::unordered_map<std::string, const Table*> byFoldedName_;  // of other programs
};

// A name for the engine that equals none in `taken` (folded names); `taken` gets it.
std::string uniqueStoredName(std::string_view wanted, std::set<std::string, std::less<>>& taken);

}  // namespace orv
