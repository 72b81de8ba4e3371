#include "server/catalog/catalog_data.h"

#include <algorithm>

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
                        std::string_view schema, std::string_view name) {
  for (const auto& object : objects) {
    if (object->schema == schema && object->name == name) return object.get();
  }
  return nullptr;
}

}  // namespace

int Table::columnIndex(std::string_view column) const {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name == column) return static_cast<int>(i);
  }
  if (!foreign) return -1;
  // Other programs write names in any case; the engine keeps them apart regardless of it.
  std::string folded = foldAscii(column);
  for (size_t i = 0; i < columns.size(); ++i) {
    if (foldAscii(columns[i].storedName) == folded) return static_cast<int>(i);
  }
  return -1;
}

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

const Procedure* CatalogData::findProcedure(std::string_view schema, std::string_view name,
                                            size_t parameters) const {
  for (const auto& procedure : procedures) {
    if (procedure->schema == schema && procedure->name == name &&
        procedure->parameters.size() == parameters) {
      return procedure.get();
    }
  }
  return nullptr;
}

const Procedure* CatalogData::findSpecificProcedure(std::string_view schema,
                                                    std::string_view specific) const {
  for (const auto& procedure : procedures) {
    if (procedure->schema == schema && procedure->specific == specific) return procedure.get();
  }
  return nullptr;
}

std::vector<const Procedure*> CatalogData::proceduresNamed(std::string_view schema,
                                                           std::string_view name) const {
  std::vector<const Procedure*> found;
  for (const auto& procedure : procedures) {
    if (procedure->schema == schema && procedure->name == name) found.push_back(procedure.get());
  }
  return found;
}

std::vector<const Function*> CatalogData::functionsNamed(std::string_view schema,
                                                         std::string_view name) const {
  std::vector<const Function*> found;
  for (const auto& function : functions) {
    if (function->schema == schema && function->name == name) found.push_back(function.get());
  }
  return found;
}

const Function* CatalogData::findSpecificFunction(std::string_view schema,
                                                  std::string_view specific) const {
  for (const auto& function : functions) {
    if (function->schema == schema && function->specific == specific) return function.get();
  }
  return nullptr;
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

std::string foldAscii(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return folded;
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
