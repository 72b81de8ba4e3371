// A view is stored twice: as SQLite's view, which other programs can read, and as the text that
// made it. The text can be resolved once more at any time, as of when the view was made; that tells
// whether it still means what SQLite's view says.
#include "server/engine/sqlite/catalog/view_definition.h"

#include <set>

#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/catalog/table_definition.h"
#include "server/engine/sqlite/render/renderer.h"
#include "server/resolve/catalog.h"
#include "server/resolve/resolver.h"
#include "server/syntax/sql_parser.h"

namespace orv::sqlite {
namespace {

std::string renderedQuery(const CatalogData& data, const std::string& schema,
                          const Statement& statement) {
  Renderer renderer(data, schema);
  renderer.viewQuery(*statement.query);
  return renderer.take();
}

Table viewTable(const Statement& statement, std::string storedName) {
  Table table;
  table.type = 'V';
  table.schema = statement.name.resolvedSchema;
  table.name = statement.name.name;
  table.storedName = std::move(storedName);
  std::set<std::string, std::less<>> taken;
  for (size_t i = 0; i < statement.viewColumns.size(); ++i) {
    Column& column = table.columns.emplace_back();
    column.name = statement.viewColumns[i];
    column.storedName = uniqueStoredName(column.name, taken);
    column.type = statement.query->columns[i].type;
  }
  return table;
}

}  // namespace

void createView(sqlite3* database, const CatalogData& catalog, const std::string& currentSchema,
                const std::vector<std::string>& functionPath, const Statement& statement) {
  const QualifiedName& name = statement.name;
  const Table table =
      viewTable(statement, storedNameFor(database, catalog, name.resolvedSchema, name.name));
  SqlText sql;
  sql << "CREATE VIEW " << Name{table.storedName} << "(";
  Comma comma;
  for (const Column& column : table.columns) sql << comma << Name{column.storedName};
  sql << ") AS " << Verbatim{renderedQuery(catalog, currentSchema, statement)};
  execute(database, sql.text());
  recordSchema(database, table.schema);
  recordTable(database, table);
  View view;
  view.schema = table.schema;
  view.name = table.name;
  view.text = statement.text;
  view.defaultSchema = currentSchema;
  view.functionPath = functionPath;
  recordView(database, view);
}

void dropView(sqlite3* database, const Table& view) {
  execute(database, dropText({"VIEW"}, view.storedName));
  eraseTable(database, view);
  eraseView(database, view);
}

std::string compiledView(const CatalogData& data, const View& view, const Catalog& catalog) {
  const std::unique_ptr<Statement> statement = parseStatement(view.text);
  statement->kind = StatementKind::Select;
  resolve(*statement,
          DefinitionCatalog(catalog, view.defaultSchema, view.functionPath, view.generation));
  return renderedQuery(data, view.defaultSchema, *statement);
}

}  // namespace orv::sqlite
