// The bodies of all triggers are resolved and searched for `column = value of the fired row`. The
// indexes wanted so are compared with those present, by their names in the file, and the difference
// is made.
#include "server/engine/sqlite/triggers/search_indexes.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "server/engine/sqlite/connection/sql_text.h"
#include "server/resolve/resolver.h"
#include "server/syntax/tree_walk.h"
#include "server/values/sql_error.h"

namespace orv::sqlite {
namespace {

constexpr std::string_view kNames = "SYSNTQ.SEARCH.";

struct Search {
  std::string table, column;                        // the engine's names
  auto operator<=>(const Search&) const = default;  // NOLINT(modernize-use-nullptr)
};

bool leads(const Key& key, int column) {
  return !key.columns.empty() && key.columns.front() == column;
}

// Whether a key or an index that the catalog knows begins with the column.
bool isServed(const CatalogData& data, const Table& table, int column) {
  const auto leadsKey = [&](const Key& key) { return leads(key, column); };
  const bool key = (table.primaryKey && leadsKey(*table.primaryKey)) ||
                   std::ranges::any_of(table.uniqueKeys, leadsKey);
  return key || std::ranges::any_of(data.indexes, [&](const auto& index) {
           return !index->declared && index->tableSchema == table.schema &&
                  index->tableName == table.name && !index->columns.empty() &&
                  table.columnIndex(index->columns.front().first) == column;
         });
}

// The columns of its target in which a statement looks for a value of the row that fires it.
void addSearches(const Statement& statement, const CatalogData& data, std::set<Search>& searches) {
  const bool searching =
      statement.kind == StatementKind::Update || statement.kind == StatementKind::Delete;
  if (!searching || !statement.where) return;
  const auto note = [&](const Expr& column, const Expr& value) {
    const bool found = column.kind == ExprKind::Column && column.source == statement.target.get() &&
                       value.kind == ExprKind::Column && value.source->kind == RefKind::Transition;
    if (!found || isServed(data, *statement.table, column.columnIndex)) return;
    const Table& table = *statement.table;
    searches.insert(
        {table.storedName, table.columns[static_cast<size_t>(column.columnIndex)].storedName});
  };
  walk(*statement.where, [&](const Expr& term) {
    if (term.kind == ExprKind::Compare && term.op == "=") {
      note(*term.args[0], *term.args[1]);
      note(*term.args[1], *term.args[0]);
    }
    return term.kind == ExprKind::And ? Walk::Enter : Walk::Skip;
  });
}

std::set<Search> searchesOf(const CatalogData& data, const Catalog& catalog) {
  std::set<Search> searches;
  for (const auto& trigger : data.triggers) {
    try {
      const auto definition = resolveTrigger(*trigger, catalog);
      for (const TriggerStep& step : definition->steps) {
        if (step.statement) addSearches(*step.statement, data, searches);
      }
    } catch (const SqlError&) {
      continue;
    }
  }
  return searches;
}

// By what they serve.
std::map<Search, std::string> presentIndexes(sqlite3* database) {
  std::map<Search, std::string> indexes;
  Command rows(database, R"(SELECT m.name, m.tbl_name, i.name
                            FROM sqlite_schema m, pragma_index_info(m.name) i
                            WHERE m.type='index' AND substr(m.name,1,?)=?)");
  rows.bind(kNames.size(), kNames);
  while (rows.step()) indexes[{rows.text(1), rows.text(2)}] = rows.text(0);
  return indexes;
}

void createIndex(sqlite3* database, const std::string& name, const Search& search) {
  SqlText sql;
  sql << "CREATE INDEX " << Name{name} << " ON " << Name{search.table} << "(" << Name{search.column}
      << ")";
  execute(database, sql.text());
}

}  // namespace

bool changesSearches(const Statement& definition, const CatalogData& data) {
  switch (definition.kind) {
    case StatementKind::CreateTrigger:
      return true;
    case StatementKind::DropTrigger:
    case StatementKind::DropTable:
    case StatementKind::AlterTable:
    case StatementKind::CreateIndex:
    case StatementKind::DropIndex:
      return !data.triggers.empty();
    default:
      return false;
  }
}

void keepSearchIndexes(sqlite3* database, const CatalogData& data, const Catalog& catalog) {
  const std::set<Search> wanted = searchesOf(data, catalog);
  std::map<Search, std::string> present = presentIndexes(database);
  std::set<std::string> taken;
  for (const auto& [search, name] : present) {
    if (wanted.contains(search)) {
      taken.insert(name);
    } else {
      execute(database, dropText({"INDEX"}, name));
    }
  }
  int number = 1;
  for (const Search& search : wanted) {
    if (present.contains(search)) continue;
    const auto name = [&] { return std::string(kNames) + std::to_string(number); };
    while (!taken.insert(name()).second) ++number;
    createIndex(database, name(), search);
  }
}

}  // namespace orv::sqlite
