#include "server/catalog/catalog_data.h"

#include <algorithm>

#include "server/catalog/system_views.h"
#include "server/values/utf8_text.h"

namespace orv {
namespace {

// Schema and name in one key; a length prefix keeps ("A", "B.C") and ("A.B", "C") apart.
std::string keyOf(std::string_view schema, std::string_view name) {
  std::string key = std::to_string(schema.size());
  key.append(":").append(schema).append(name);
  return key;
}

template <typename Object>
const Object* findNamed(const std::vector<std::unique_ptr<Object>>& objects,
                        std::string_view schema, std::string_view name,
                        std::string Object::*member = &Object::name) {
  for (const auto& object : objects) {
    if (object->schema == schema && (*object).*member == name) return object.get();
  }
  return nullptr;
}

template <typename Object>
std::vector<const Object*> allNamed(const std::vector<std::unique_ptr<Object>>& objects,
                                    std::string_view schema, std::string_view name) {
  std::vector<const Object*> found;
  for (const auto& object : objects) {
    if (object->schema == schema && object->name == name) found.push_back(object.get());
  }
  return found;
}

}  // namespace

void CatalogData::index() {
  for (const auto& table : tables) {
    byName_.emplace(keyOf(table->schema, table->name), table.get());
    if (table->foreign) {
      byFoldedName_.emplace(keyOf(table->schema, foldAscii(table->storedName)), table.get());
    }
  }
}

const Table* CatalogData::findTable(std::string_view schema, std::string_view name) const {
  if (schema.empty()) schema = defaultSchema;
  auto exact = byName_.find(keyOf(schema, name));
  if (exact != byName_.end()) return exact->second;
  auto folded = byFoldedName_.find(keyOf(schema, foldAscii(name)));
  return folded == byFoldedName_.end() ? nullptr : folded->second;
}

const Index* CatalogData::findIndex(std::string_view schema, std::string_view name) const {
  return findNamed(indexes, schema.empty() ? std::string_view(defaultSchema) : schema, name);
}

const DistinctType* CatalogData::findType(std::string_view schema, std::string_view name) const {
  return findNamed(types, schema, name);
}

const Procedure* CatalogData::findSpecificProcedure(std::string_view schema,
                                                    std::string_view specific) const {
  return findNamed(procedures, schema, specific, &Procedure::specific);
}

std::vector<const Procedure*> CatalogData::proceduresNamed(std::string_view schema,
                                                           std::string_view name) const {
  return allNamed(procedures, schema, name);
}

std::vector<const Function*> CatalogData::functionsNamed(std::string_view schema,
                                                         std::string_view name) const {
  return allNamed(functions, schema, name);
}

const Function* CatalogData::findSpecificFunction(std::string_view schema,
                                                  std::string_view specific) const {
  return findNamed(functions, schema, specific, &Function::specific);
}

std::vector<const Table*> CatalogData::childrenOf(const Table& parent) const {
  std::vector<const Table*> found;
  for (const auto& table : tables) {
    const bool refers = std::ranges::any_of(table->foreignKeys, [&](const ForeignKey& key) {
      return findTable(key.parentSchema, key.parentTable) == &parent;
    });
    if (refers) found.push_back(table.get());
  }
  return found;
}

std::vector<const Trigger*> CatalogData::triggersOn(const Table& table) const {
  std::vector<const Trigger*> found;
  for (const auto& trigger : triggers) {
    const bool fires = trigger->tableSchema == table.schema && trigger->tableName == table.name;
    if (fires) found.push_back(trigger.get());
  }
  return found;
}

const Trigger* CatalogData::findTrigger(std::string_view schema, std::string_view name) const {
  return findNamed(triggers, schema, name);
}

bool CatalogData::schemaExists(std::string_view name) const {
  return schemas.contains(name) || name == kSystemSchema || name == kSystemViewSchema;
}

std::optional<Package> CatalogData::findPackage(std::string_view qualifier,
                                                std::string_view name) const {
  for (const Package& package : packages) {
    if (package.qualifier == qualifier && package.name == name) return package;
  }
  return std::nullopt;
}

std::string uniqueStoredName(std::string_view wanted, std::set<std::string, std::less<>>& taken) {
  // The engine keeps names that begin so for itself.
  std::string base =
      foldAscii(wanted).starts_with("SQLITE_") ? "_" + std::string(wanted) : std::string(wanted);
  std::string name = base;
  for (int n = 2; !taken.insert(foldAscii(name)).second; ++n) name = base + "~" + std::to_string(n);
  return name;
}

}  // namespace orv
