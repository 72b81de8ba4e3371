// Reading the catalog: first the tables and columns that the file really has, then what our tables
// say about them, and the aliases, then the keys and indexes of other programs' tables.
#include <algorithm>
#include <map>
#include <set>
#include <unordered_map>

#include "server/catalog/declared_type.h"
#include "server/catalog/system_views.h"
#include "server/engine/sqlite/catalog/catalog_store.h"
#include "server/engine/sqlite/catalog/foreign_columns.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/syntax/lexer.h"
#include "server/values/utf8_text.h"

namespace orv::sqlite {
namespace {

constexpr int kKnownFormat = 1;
constexpr int kNoMemory = -954;  // SQLCODE

class Loader {
 public:
  Loader(sqlite3* database, ForeignColumns& foreignColumns)
      : database_(database),
        foreignColumns_(foreignColumns),
        data_(std::make_shared<CatalogData>()) {}

  std::shared_ptr<CatalogData> load(const TemporaryTables& temporary) {
    temporary.addTo(*data_);  // first, so that they hide stored tables of their names
    own_ = hasCatalogTables(database_);
    if (own_) {
      loadSettings();
      loadNames();
      loadTypes();
      loadProcedures(database_, *data_);
      if (hasTable("SYSNTQ.FUNCTIONS")) loadFunctions(database_, *data_);
      if (hasTable("SYSNTQ.TRIGGERS")) loadTriggers(database_, *data_);
      if (hasTable("SYSNTQ.VIEWS")) loadViews(database_, *data_);
      if (hasTable("SYSNTQ.PRIVILEGES")) loadPrivileges(database_, *data_);
      loadTableRecords();
    }
    data_->schemas.insert(data_->defaultSchema);
    loadTables();
    if (hasTable("SYSNTQ.GENERATIONS")) loadGenerations(database_, *data_);
    if (own_) loadKeys();
    if (own_) loadAliases();
    loadForeignTables();
    loadViewsOfForeign();
    loadForeignTriggers();
    loadIndexes();
    addSystemViews(*data_);
    data_->index();
    return data_;
  }

 private:
  void loadSettings() {
    Command rows(database_, R"(SELECT NAME, VALUE FROM "SYSNTQ.DATABASE")");
    while (rows.step()) {
      std::string name = rows.text(0);
      if (name == "CODEPAGE") data_->codePage = static_cast<int>(rows.integer(1));
      if (name == "DEFAULTSCHEMA") data_->defaultSchema = rows.text(1);
      if (name == "FORMAT" && rows.integer(1) > kKnownFormat) {
        throw SqlError(-902, {"the catalog is of format " + rows.text(1)});
      }
    }
  }

  void loadNames() {
    Command schemas(database_, R"(SELECT NAME FROM "SYSNTQ.SCHEMAS")");
    while (schemas.step()) data_->schemas.insert(schemas.text(0));
    Command spaces(database_, R"(SELECT NAME FROM "SYSNTQ.TABLESPACES")");
    while (spaces.step()) data_->tableSpaces.insert(spaces.text(0));
    Command packages(database_, R"(SELECT QUALIFIER, NAME, TOKEN FROM "SYSNTQ.PACKAGES")");
    while (packages.step()) {
      data_->packages.push_back({packages.text(0), packages.text(1), packages.text(2)});
    }
  }

  void loadTypes() {
    Command rows(database_, R"(SELECT SCHEMA, NAME, SOURCE, COMPARISONS FROM "SYSNTQ.TYPES")");
    while (rows.step()) {
      auto type = std::make_unique<DistinctType>();
      type->schema = rows.text(0);
      type->name = rows.text(1);
      type->source = declaredType(rows.text(2));
      type->comparisons = rows.integer(3) != 0;
      data_->types.push_back(std::move(type));
    }
  }

  void loadTableRecords() {
    Command tables(database_, R"(SELECT STORED, SCHEMA, NAME, TABLESPACE FROM "SYSNTQ.TABLES")");
    while (tables.step()) {
      Table& table = tableRecords_[tables.text(0)];
      table.schema = tables.text(1);
      table.name = tables.text(2);
      table.tableSpace = tables.text(3);
    }
    Command rows(database_, R"(SELECT STORED, STOREDCOLUMN, NAME, TYPE, TYPESCHEMA, TYPENAME,
                               HASDEFAULT, DEFAULTTEXT, STOREDDEFAULT FROM "SYSNTQ.COLUMNS")");
    while (rows.step()) {
      Column& record = columnRecords_[rows.text(0)][rows.text(1)];
      record.storedName = rows.text(1);
      record.name = rows.text(2);
      record.type = declaredType(rows.text(3));
      record.type.distinctSchema = rows.text(4);
      record.type.distinctName = rows.text(5);
      record.hasDefault = rows.integer(6) != 0;
      record.defaultText = rows.text(7);
      record.storedDefault = rows.text(8);
    }
  }

  void loadTables() {
    Command names(database_, R"(SELECT name, type FROM sqlite_schema
                                WHERE type IN ('table','view') AND name NOT LIKE 'sqlite\_%'
                                ESCAPE '\' AND name NOT LIKE 'SYSNTQ.%' ORDER BY rowid)");
    Command columns(database_, R"(SELECT name, type, "notnull", dflt_value, pk, hidden
                                  FROM pragma_table_xinfo(?) ORDER BY cid)");
    while (names.step()) {
      auto table = std::make_unique<Table>();
      table->storedName = names.text(0);
      table->type = names.text(1) == "view" ? 'V' : 'T';
      auto record = tableRecords_.find(table->storedName);
      table->foreign = record == tableRecords_.end();
      table->schema = table->foreign ? data_->defaultSchema : record->second.schema;
      table->name =
          table->foreign ? foreignName(tableNames_, table->storedName) : record->second.name;
      if (!table->foreign) table->tableSpace = record->second.tableSpace;
      data_->schemas.insert(table->schema);
      // A view over something that is gone, or a table of an unknown module, cannot be used and
      // does not exist here.
      try {
        columns.reset();
        columns.bind(table->storedName);
        loadColumns(*table, columns);
      } catch (const SqlError& error) {
        if (error.sqlcode() == kNoMemory) throw;
        continue;
      }
      if (!table->columns.empty()) data_->tables.push_back(std::move(table));
    }
  }

  void loadColumns(Table& table, Command& columns) {
    std::map<int64_t, int> keyColumns;
    int autoNumbered = -1;
    std::set<std::string> names;
    auto records = columnRecords_.find(table.storedName);
    while (columns.step()) {
      if (columns.integer(5) == 1) continue;  // hidden column of a virtual table
      Column column;
      column.storedName = columns.text(0);
      column.hasDefault = !columns.isNull(3);
      column.defaultText = columns.text(3);
      column.storedDefault = column.defaultText;
      bool known = false;
      if (records != columnRecords_.end()) {
        auto record = records->second.find(column.storedName);
        known = record != records->second.end();
        if (known) column = record->second;
      }
      if (!known) {
        column.name = foreignName(names, column.storedName);
        column.type = foreignType(columns.text(1));
        column.isForeign = true;
        column.isUntyped = isCharacter(column.type.kind) && keepsNumbers(columns.text(1));
      }
      column.type.nullable = columns.integer(2) == 0;
      if (int64_t position = columns.integer(4)) {
        keyColumns[position] = static_cast<int>(table.columns.size());
        if (!known && foldAscii(columns.text(1)) == "INTEGER") {
          autoNumbered = static_cast<int>(table.columns.size());
        }
      }
      table.columns.push_back(std::move(column));
    }
    if (!table.foreign) return;
    if (keyColumns.empty()) return;
    table.primaryKey.emplace();
    table.primaryKey->name = table.name + "_PK";
    for (const auto& [position, column] : keyColumns) table.primaryKey->columns.push_back(column);
    if (keyColumns.size() == 1 && autoNumbered >= 0) {
      // SQLite numbers the rows when nothing is given.
      Column& column = table.columns[static_cast<size_t>(autoNumbered)];
      column.type.nullable = false;
      column.hasDefault = true;
    }
  }

  // Names of other programs stand in any case; ordinary words, which are folded, shall find them.
  static std::string foreignName(std::set<std::string>& names, const std::string& stored) {
    std::string folded = foldName(stored);
    return names.insert(folded).second ? folded : stored;
  }

  void loadKeys() {
    for (const auto& table : data_->tables) {
      if (!table->foreign) ownTables_[table->storedName] = table.get();
    }
    Command rows(database_, R"(SELECT STORED, NAME, KIND, COLUMNS, PARENTSCHEMA, PARENTTABLE,
                               PARENTCOLUMNS, ONDELETE, TEXT FROM "SYSNTQ.KEYS" ORDER BY rowid)");
    while (rows.step()) {
      auto owner = ownTables_.find(rows.text(0));
      if (owner != ownTables_.end()) loadKey(*owner->second, rows);
    }
  }

  static void loadKey(Table& table, const Command& row) {
    std::string name = row.text(1);
    std::vector<int> columns;
    for (const std::string& column : readNameList(row.text(3))) {
      int index = table.columnIndex(column);
      if (index < 0) return;  // dropped by another program
      columns.push_back(index);
    }
    switch (row.text(2).front()) {
      case 'P':
        table.primaryKey = Key{name, columns};
        break;
      case 'U':
        table.uniqueKeys.push_back({name, columns});
        break;
      case 'F':
        table.foreignKeys.push_back(
            {name, columns, row.text(4), row.text(5), readNameList(row.text(6)), row.text(7)});
        break;
      default:
        table.checks.push_back({name, row.text(8)});
    }
  }

  // Databases from before there were aliases, functions or triggers have no tables of them.
  bool hasTable(std::string_view name) const {
    Command exists(database_, "SELECT 1 FROM sqlite_schema WHERE name=?");
    return exists.bind(name).step();
  }

  void loadAliases() {
    if (!hasTable("SYSNTQ.ALIASES")) return;
    Command rows(database_, R"(SELECT SCHEMA, NAME, BASESCHEMA, BASENAME FROM "SYSNTQ.ALIASES")");
    while (rows.step()) {
      auto alias = std::make_unique<Table>();
      alias->type = 'A';
      alias->schema = rows.text(0);
      alias->name = rows.text(1);
      alias->baseSchema = rows.text(2);
      alias->baseTable = rows.text(3);
      data_->schemas.insert(alias->schema);
      data_->tables.push_back(std::move(alias));
    }
  }

  void loadForeignTables() {
    std::set<std::string> unnumbered;
    Command rows(database_, "SELECT name FROM pragma_table_list WHERE schema='main' AND wr");
    while (rows.step()) unnumbered.insert(rows.text(0));
    for (const auto& table : data_->tables) {
      if (!table->foreign) continue;
      table->numbered = table->type == 'T' && !unnumbered.contains(table->storedName);
      if (table->type != 'T') continue;
      loadForeignUniqueKeys(*table);
      loadForeignForeignKeys(*table);
      foreignColumns_.choose(database_, *table);
    }
  }

  void loadForeignUniqueKeys(Table& table) {
    Command lists(database_,
                  "SELECT name FROM pragma_index_list(?) WHERE origin='u' AND NOT partial");
    lists.bind(table.storedName);
    while (lists.step()) {
      Key key;
      key.name = lists.text(0);
      Command columns(database_, "SELECT name FROM pragma_index_info(?) ORDER BY seqno");
      columns.bind(key.name);
      bool plain = true;
      while (columns.step()) {
        key.columns.push_back(table.columnIndex(columns.text(0)));
        plain = plain && key.columns.back() >= 0;
      }
      if (plain) table.uniqueKeys.push_back(std::move(key));
    }
  }

  void loadForeignForeignKeys(Table& table) {
    Command rows(database_, R"(SELECT id, "table", "from", "to", on_delete
                               FROM pragma_foreign_key_list(?) ORDER BY id, seq)");
    rows.bind(table.storedName);
    int64_t current = -1;
    while (rows.step()) {
      if (rows.integer(0) != current) {
        current = rows.integer(0);
        ForeignKey key;
        key.name = table.name + "_FK" + std::to_string(current + 1);
        key.parentSchema = table.schema;
        key.parentTable = foldName(rows.text(1));
        key.onDelete = rows.text(4) == "NO ACTION" ? "" : rows.text(4);
        table.foreignKeys.push_back(std::move(key));
      }
      table.foreignKeys.back().columns.push_back(table.columnIndex(rows.text(2)));
      if (!rows.isNull(3)) table.foreignKeys.back().parentColumns.push_back(foldName(rows.text(3)));
    }
  }

  // What a view gives of other programs' tables is no more certain than what they hold.
  void loadViewsOfForeign() {
    std::vector<std::string> sources;  // as the texts of views name them
    std::unordered_map<std::string, Table*> views;
    const auto add = [&](const Table& table) {
      SqlText source;
      source << Name{table.storedName} << " AS ";
      sources.push_back(source.take());
    };
    for (const auto& table : data_->tables) {
      if (table->type == 'V' && !table->foreign) {
        views[table->storedName] = table.get();
      } else if (std::ranges::any_of(table->columns, &Column::isForeign)) {
        add(*table);
      }
    }
    if (sources.empty() || views.empty()) return;
    Command rows(database_, "SELECT name, sql FROM sqlite_schema WHERE type='view' ORDER BY rowid");
    while (rows.step()) {
      const auto view = views.find(rows.text(0));
      if (view == views.end()) continue;
      const std::string text = rows.text(1);
      const auto isNamed = [&](const std::string& source) {
        return text.find(source) != std::string::npos;
      };
      if (std::ranges::none_of(sources, isNamed)) continue;
      for (Column& column : view->second->columns) column.isForeign = true;
      add(*view->second);
    }
  }

  void loadForeignTriggers() {
    std::set<std::string> own;
    for (const auto& trigger : data_->triggers) own.insert(trigger->storedName);
    Command rows(database_, "SELECT name, tbl_name FROM sqlite_schema WHERE type='trigger'");
    while (rows.step()) {
      if (own.contains(rows.text(0))) continue;
      for (const auto& table : data_->tables) {
        if (!table->declared && table->storedName == rows.text(1)) table->firesOthers = true;
      }
    }
  }

  void loadIndexes() {
    std::map<std::string, std::pair<std::string, std::string>> records;
    if (own_) {
      Command rows(database_, R"(SELECT STORED, SCHEMA, NAME FROM "SYSNTQ.INDEXES")");
      while (rows.step()) records[rows.text(0)] = {rows.text(1), rows.text(2)};
    }
    std::unordered_map<std::string, const Table*> tables;
    for (const auto& table : data_->tables) tables[table->storedName] = table.get();
    Command rows(database_, R"(SELECT m.name, m.tbl_name, l."unique", i.name, i."desc"
                               FROM sqlite_schema m, pragma_index_list(m.tbl_name) l,
                                    pragma_index_xinfo(m.name) i
                               WHERE m.type='index' AND m.sql IS NOT NULL AND l.name=m.name AND
                                     m.name NOT LIKE 'SYSNTQ.%' AND i."key"
                               ORDER BY m.rowid, i.seqno)");
    while (rows.step()) {
      auto table = tables.find(rows.text(1));
      if (table == tables.end()) continue;
      if (data_->indexes.empty() || data_->indexes.back()->storedName != rows.text(0)) {
        auto index = std::make_unique<Index>();
        index->storedName = rows.text(0);
        auto record = records.find(index->storedName);
        bool known = record != records.end();
        index->schema = known ? record->second.first : data_->defaultSchema;
        index->name = known ? record->second.second : index->storedName;
        index->tableSchema = table->second->schema;
        index->tableName = table->second->name;
        index->unique = rows.integer(2) != 0;
        data_->indexes.push_back(std::move(index));
      }
      data_->indexes.back()->columns.emplace_back(nameOfColumn(*table->second, rows.text(3)),
                                                  rows.integer(4) != 0);
    }
  }

  static std::string nameOfColumn(const Table& table, const std::string& stored) {
    for (const Column& column : table.columns) {
      if (column.storedName == stored) return column.name;
    }
    return stored;
  }

  sqlite3* database_;
  ForeignColumns& foreignColumns_;
  std::shared_ptr<CatalogData> data_;
  bool own_ = false;
  std::set<std::string> tableNames_;
  std::unordered_map<std::string, Table> tableRecords_;
  std::unordered_map<std::string, std::unordered_map<std::string, Column>> columnRecords_;
  std::unordered_map<std::string, Table*> ownTables_;
};

}  // namespace

std::shared_ptr<CatalogData> loadCatalog(sqlite3* database, const TemporaryTables& temporary,
                                         ForeignColumns& foreignColumns) {
  return Loader(database, foreignColumns).load(temporary);
}

}  // namespace orv::sqlite
