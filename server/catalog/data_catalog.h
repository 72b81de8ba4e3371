// The Catalog over the content that an engine has read: names without a schema are looked for in
// the default schema and along the function path that the session has set. Its version tells when
// either of them, or the content, changed.
#pragma once

#include "server/catalog/catalog_data.h"

namespace orv {

class DataCatalog : public Catalog {
 public:
  // The pointer keeps the content alive over later changes.
  virtual std::shared_ptr<const CatalogData> data() const = 0;

  void setFunctionPath(std::vector<std::string> path) {
    path_ = std::move(path);
    ++version_;
  }
  void setDefaultSchema(std::string schema) {
    defaultSchema_ = std::move(schema);
    ++version_;
  }

  uint64_t version() const override { return version_; }
  int codePage() const override { return data()->codePage; }
  const std::string& defaultSchema() const override { return defaultSchema_; }
  const Table* findTable(std::string_view schema, std::string_view name) const override;
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
  const std::vector<std::string>& functionPath() const override { return path_; }

 protected:
  uint64_t version_ = 1;
  std::string defaultSchema_;
  std::vector<std::string> path_;

 private:
  template <typename Find>
  auto search(std::string_view schema, Find find) const -> decltype(find(schema));
};

}  // namespace orv
