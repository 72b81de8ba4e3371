#include "server/catalog/data_catalog.h"

#include <algorithm>

#include "server/catalog/system_views.h"

namespace orv {

const Table* DataCatalog::findTable(std::string_view schema, std::string_view name) const {
  return data()->findTable(schema.empty() ? std::string_view(defaultSchema_) : schema, name);
}

template <typename Find>
auto DataCatalog::search(std::string_view schema, Find find) const -> decltype(find(schema)) {
  if (!schema.empty()) return find(schema);
  for (const std::string& candidate : path_) {
    if (auto found = find(candidate)) return found;
  }
  return find(defaultSchema_);
}

const DistinctType* DataCatalog::findType(std::string_view schema, std::string_view name) const {
  return search(schema, [&](std::string_view s) { return data()->findType(s, name); });
}

const Procedure* DataCatalog::findProcedure(std::string_view schema, std::string_view name,
                                            size_t parameters) const {
  return search(schema,
                [&](std::string_view s) { return data()->findProcedure(s, name, parameters); });
}

const Procedure* DataCatalog::findSpecificProcedure(std::string_view schema,
                                                    std::string_view specific) const {
  return search(schema,
                [&](std::string_view s) { return data()->findSpecificProcedure(s, specific); });
}

std::vector<const Procedure*> DataCatalog::proceduresNamed(std::string_view schema,
                                                           std::string_view name) const {
  if (!schema.empty()) return data()->proceduresNamed(schema, name);
  for (const std::string& candidate : path_) {
    auto found = data()->proceduresNamed(candidate, name);
    if (!found.empty()) return found;
  }
  return data()->proceduresNamed(defaultSchema_, name);
}

std::vector<const Function*> DataCatalog::functionsNamed(std::string_view schema,
                                                         std::string_view name) const {
  if (!schema.empty()) return data()->functionsNamed(schema, name);
  std::vector<const Function*> all;
  for (const std::string& candidate : path_) {
    const auto found = data()->functionsNamed(candidate, name);
    all.insert(all.end(), found.begin(), found.end());
  }
  if (std::ranges::find(path_, defaultSchema_) == path_.end()) {
    const auto found = data()->functionsNamed(defaultSchema_, name);
    all.insert(all.end(), found.begin(), found.end());
  }
  return all;
}

const Function* DataCatalog::findSpecificFunction(std::string_view schema,
                                                  std::string_view specific) const {
  return search(schema,
                [&](std::string_view s) { return data()->findSpecificFunction(s, specific); });
}

std::vector<const Table*> DataCatalog::childrenOf(const Table& parent) const {
  return data()->childrenOf(parent);
}

std::vector<const Trigger*> DataCatalog::triggersOn(const Table& table) const {
  return data()->triggersOn(table);
}

const Trigger* DataCatalog::findTrigger(std::string_view schema, std::string_view name) const {
  return data()->findTrigger(schema.empty() ? std::string_view(defaultSchema_) : schema, name);
}

bool DataCatalog::tableSpaceExists(std::string_view name) const {
  return data()->tableSpaces.contains(name);
}

bool DataCatalog::schemaExists(std::string_view name) const {
  return data()->schemas.contains(name) || name == kSystemSchema || name == kSystemViewSchema;
}

bool DataCatalog::indexExists(std::string_view schema, std::string_view name) const {
  return data()->findIndex(schema.empty() ? std::string_view(defaultSchema_) : schema, name) !=
         nullptr;
}

std::optional<Package> DataCatalog::findPackage(std::string_view qualifier,
                                                std::string_view name) const {
  for (const Package& package : data()->packages) {
    if (package.qualifier == qualifier && package.name == name) return package;
  }
  return std::nullopt;
}

}  // namespace orv
