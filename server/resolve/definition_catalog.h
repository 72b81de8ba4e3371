// The catalog as the text of a trigger or view sees it, which means for ever what it meant when it
// was made: names without a schema are those of its time, columns, functions and types that came
// later are unknown, and so are the declared temporary tables of a session. What is found belongs
// to the catalog behind it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "server/resolve/catalog.h"

namespace orv {

class DefinitionCatalog : public Catalog {
 public:
  DefinitionCatalog(const Catalog& base, std::string defaultSchema, std::vector<std::string> path,
                    int64_t generation = kLatest)
      : base_(base.whole()),
        defaultSchema_(std::move(defaultSchema)),
        path_(std::move(path)),
        generation_(generation) {}

  const Catalog& whole() const override { return base_; }
  uint64_t version() const override { return base_.version(); }
  int codePage() const override { return base_.codePage(); }
  const std::string& defaultSchema() const override { return defaultSchema_; }
  const std::vector<std::string>& functionPath() const override { return path_; }

  const Table* findTable(std::string_view schema, std::string_view name) const override;
  size_t columnsSeen(const Table& table) const override;
  const DistinctType* findType(std::string_view schema, std::string_view name) const override;
  const Procedure* findProcedure(std::string_view schema, std::string_view name,
                                 size_t parameters) const override;
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
  bool tableSpaceExists(std::string_view name) const override;
  bool schemaExists(std::string_view name) const override;
  bool indexExists(std::string_view schema, std::string_view name) const override;
  std::optional<Package> findPackage(std::string_view qualifier,
                                     std::string_view name) const override;

 private:
  std::string_view schemaOr(std::string_view schema) const;
  std::vector<std::string_view> searched(std::string_view schema) const;

  const Catalog& base_;
  std::string defaultSchema_;
  std::vector<std::string> path_;
  int64_t generation_;
};

}  // namespace orv
