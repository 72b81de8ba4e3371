#include "server/resolve/catalog.h"

#include <algorithm>

#include "server/values/utf8_text.h"

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

// The schemas that types and routines of this name are looked for in.
std::vector<std::string_view> Catalog::searched(std::string_view schema) const {
  if (!schema.empty()) return {schema};
  std::vector<std::string_view> schemas(path_.begin(), path_.end());
  if (std::ranges::find(path_, defaultSchema_) == path_.end()) schemas.push_back(defaultSchema_);
  return schemas;
}

const Table* Catalog::findTable(std::string_view schema, std::string_view name) const {
  const Table* table = content().findTable(schemaOr(schema), name);
  return table && table->declared && !seesDeclared_ ? nullptr : table;
}

// ALTER TABLE adds columns behind the others.
size_t Catalog::columnsSeen(const Table& table) const {
  size_t count = table.columns.size();
  while (count > 0 && table.columns[count - 1].generation >= generation_) --count;
  return count;
}

const DistinctType* Catalog::findType(std::string_view schema, std::string_view name) const {
  return firstFound(searched(schema), [&](std::string_view s) {
    const DistinctType* type = content().findType(s, name);
    return type && type->generation < generation_ ? type : nullptr;
  });
}

const Procedure* Catalog::findProcedure(std::string_view schema, std::string_view name,
                                        size_t parameters) const {
  return firstFound(searched(schema), [&](std::string_view s) -> const Procedure* {
    for (const Procedure* procedure : content().proceduresNamed(s, name)) {
      if (procedure->parameters.size() == parameters) return procedure;
    }
    return nullptr;
  });
}

const Procedure* Catalog::findSpecificProcedure(std::string_view schema,
                                                std::string_view specific) const {
  return firstFound(searched(schema), [&](std::string_view s) {
    return content().findSpecificProcedure(s, specific);
  });
}

std::vector<const Procedure*> Catalog::proceduresNamed(std::string_view schema,
                                                       std::string_view name) const {
  for (const std::string_view candidate : searched(schema)) {
    std::vector<const Procedure*> found = content().proceduresNamed(candidate, name);
    if (!found.empty()) return found;
  }
  return {};
}

std::vector<const Function*> Catalog::functionsNamed(std::string_view schema,
                                                     std::string_view name) const {
  std::vector<const Function*> all;
  for (const std::string_view candidate : searched(schema)) {
    for (const Function* function : content().functionsNamed(candidate, name)) {
      if (function->generation < generation_) all.push_back(function);
    }
  }
  return all;
}

const Function* Catalog::findSpecificFunction(std::string_view schema,
                                              std::string_view specific) const {
  return firstFound(searched(schema), [&](std::string_view s) {
    return content().findSpecificFunction(s, specific);
  });
}

}  // namespace orv
