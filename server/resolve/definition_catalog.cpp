#include "server/resolve/definition_catalog.h"

#include <algorithm>

namespace orv {
namespace {

// What the first of the schemas that has any gives.
template <typename Find>
auto firstFound(const std::vector<std::string_view>& schemas, Find find)
    -> decltype(find(std::string_view())) {
  for (const std::string_view schema : schemas) {
    if (const auto found = find(schema)) return found;
  }
  return nullptr;
}

}  // namespace

std::string_view DefinitionCatalog::schemaOr(std::string_view schema) const {
  return schema.empty() ? std::string_view(defaultSchema_) : schema;
}

// The schemas that types and routines of this name are looked for in.
std::vector<std::string_view> DefinitionCatalog::searched(std::string_view schema) const {
  if (!schema.empty()) return {schema};
  std::vector<std::string_view> schemas(path_.begin(), path_.end());
  if (std::ranges::find(path_, defaultSchema_) == path_.end()) schemas.push_back(defaultSchema_);
  return schemas;
}

const Table* DefinitionCatalog::findTable(std::string_view schema, std::string_view name) const {
  const Table* table = base_.findTable(schemaOr(schema), name);
  return table && table->declared ? nullptr : table;
}

// ALTER TABLE adds columns behind the others.
size_t DefinitionCatalog::columnsSeen(const Table& table) const {
  size_t count = table.columns.size();
  while (count > 0 && table.columns[count - 1].generation >= generation_) --count;
  return count;
}

const DistinctType* DefinitionCatalog::findType(std::string_view schema,
                                                std::string_view name) const {
  return firstFound(searched(schema), [&](std::string_view s) {
    const DistinctType* type = base_.findType(s, name);
    return type && type->generation < generation_ ? type : nullptr;
  });
}

const Procedure* DefinitionCatalog::findProcedure(std::string_view schema, std::string_view name,
                                                  size_t parameters) const {
  return firstFound(searched(schema),
                    [&](std::string_view s) { return base_.findProcedure(s, name, parameters); });
}

const Procedure* DefinitionCatalog::findSpecificProcedure(std::string_view schema,
                                                          std::string_view specific) const {
  return firstFound(searched(schema),
                    [&](std::string_view s) { return base_.findSpecificProcedure(s, specific); });
}

std::vector<const Procedure*> DefinitionCatalog::proceduresNamed(std::string_view schema,
                                                                 std::string_view name) const {
  for (const std::string_view candidate : searched(schema)) {
    std::vector<const Procedure*> found = base_.proceduresNamed(candidate, name);
    if (!found.empty()) return found;
  }
  return {};
}

std::vector<const Function*> DefinitionCatalog::functionsNamed(std::string_view schema,
                                                               std::string_view name) const {
  std::vector<const Function*> all;
  for (const std::string_view candidate : searched(schema)) {
    for (const Function* function : base_.functionsNamed(candidate, name)) {
      if (function->generation < generation_) all.push_back(function);
    }
  }
  return all;
}

const Function* DefinitionCatalog::findSpecificFunction(std::string_view schema,
                                                        std::string_view specific) const {
  return firstFound(searched(schema),
                    [&](std::string_view s) { return base_.findSpecificFunction(s, specific); });
}

std::vector<const Table*> DefinitionCatalog::childrenOf(const Table& parent) const {
  return base_.childrenOf(parent);
}

std::vector<const Trigger*> DefinitionCatalog::triggersOn(const Table& table) const {
  return base_.triggersOn(table);
}

const Trigger* DefinitionCatalog::findTrigger(std::string_view schema,
                                              std::string_view name) const {
  return base_.findTrigger(schemaOr(schema), name);
}

bool DefinitionCatalog::tableSpaceExists(std::string_view name) const {
  return base_.tableSpaceExists(name);
}

bool DefinitionCatalog::schemaExists(std::string_view name) const {
  return base_.schemaExists(name);
}

bool DefinitionCatalog::indexExists(std::string_view schema, std::string_view name) const {
  return base_.indexExists(schemaOr(schema), name);
}

std::optional<Package> DefinitionCatalog::findPackage(std::string_view qualifier,
                                                      std::string_view name) const {
  return base_.findPackage(qualifier, name);
}

}  // namespace orv
