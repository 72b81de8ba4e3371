// The system views, SYSCAT.TABLES and the like: their columns, and their rows over the content of a
// catalog, without declared temporary tables. The first two columns of every view that has that
// many identify an object (schema and name), and the rows are sorted by them.
#pragma once

#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "server/catalog/catalog_data.h"

namespace orv {

using ViewValue = std::variant<std::monostate, int64_t, std::string>;
using ViewRow = std::vector<ViewValue>;

struct SystemView {
  std::string_view name;
  struct ViewColumn {
    std::string_view name;
    TypeKind kind;
    int64_t length;
    bool nullable;
  };
  std::span<const ViewColumn> columns;
  std::vector<ViewRow> (*rows)(const CatalogData&);
};

inline constexpr std::string_view kSystemViewSchema = "SYSCAT";
inline constexpr std::string_view kSystemSchema = "SYSNTQ";

std::span<const SystemView> systemViews();

// The views as tables of the catalog, stored under "SYSCAT.<name>".
void addSystemViews(CatalogData& data);

// The sorted rows of a view.
std::vector<ViewRow> systemViewRows(const SystemView& view, const CatalogData& data);

}  // namespace orv
