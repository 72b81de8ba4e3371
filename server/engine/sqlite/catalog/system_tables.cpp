// An eponymous virtual table per view. A scan that gives schema or name goes by binary search to
// its rows, which are sorted by these two columns.
#include "server/engine/sqlite/catalog/system_tables.h"

#include <algorithm>
#include <new>

#include "server/catalog/system_views.h"
#include "server/engine/sqlite/connection/sql_text.h"
#include "server/engine/sqlite/connection/sqlite_connection.h"

namespace orv::sqlite {
namespace {

struct Module {
  const SystemView* view;
  const CatalogSource* source;
};

// The rows of the last catalog that was scanned are kept: scans come in series.
struct SystemTable : sqlite3_vtab {
  explicit SystemTable(const Module& m) : sqlite3_vtab{}, module(m) {}
  Module module;
  std::shared_ptr<const CatalogData> data;
  std::shared_ptr<const std::vector<ViewRow>> rows;

  void refresh() {
    std::shared_ptr<const CatalogData> current = (*module.source)();
    if (rows && data == current) return;
    rows = std::make_shared<const std::vector<ViewRow>>(systemViewRows(*module.view, *current));
    data = std::move(current);
  }
};

struct Cursor : sqlite3_vtab_cursor {
  Cursor() : sqlite3_vtab_cursor{} {}
  std::shared_ptr<const std::vector<ViewRow>> rows;
  size_t at = 0;
  size_t end = 0;
};

int declare(sqlite3* database, const SystemView& view) {
  SqlText sql;
  sql << "CREATE TABLE x(";
  Comma comma;
  for (const auto& column : view.columns) {
    sql << comma << Name{column.name};
    if (column.kind == TypeKind::Varchar) {
      sql << " VARCHAR COLLATE RTRIM";
    } else if (column.kind == TypeKind::Clob) {
      sql << " CLOB";
    } else {
      sql << " INTEGER";
    }
  }
  sql << ")";
  return sqlite3_declare_vtab(database, sql.text().c_str());
}

int connect(sqlite3* database, void* module, int, const char* const*, sqlite3_vtab** table,
            char** text) {
  try {
    auto& m = *static_cast<Module*>(module);
    int rc = declare(database, *m.view);
    if (rc == SQLITE_OK) *table = new SystemTable(m);
    sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
    return rc;
  } catch (const std::bad_alloc&) {
    *text = sqlite3_mprintf("%s", noMemoryText());
    return SQLITE_ERROR;
  }
}

int disconnect(sqlite3_vtab* table) {
  delete static_cast<SystemTable*>(table);
  return SQLITE_OK;
}

// idxNum: how many of the leading columns are given.
int bestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
  int given[2] = {-1, -1};
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    if (!constraint.usable || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
    if (constraint.iColumn == 0 || constraint.iColumn == 1) given[constraint.iColumn] = i;
  }
  size_t columns = static_cast<SystemTable*>(table)->module.view->columns.size();
  info->idxNum = given[0] < 0 ? 0 : given[1] < 0 || columns < 2 ? 1 : 2;
  for (int i = 0; i < info->idxNum; ++i) info->aConstraintUsage[given[i]].argvIndex = i + 1;
  info->estimatedCost = info->idxNum == 2 ? 10 : info->idxNum == 1 ? 100 : 1000;
  info->estimatedRows = info->idxNum == 2 ? 10 : 1000;
  return SQLITE_OK;
}

int failed(sqlite3_vtab* table, const char* text) {
  sqlite3_free(table->zErrMsg);
  table->zErrMsg = sqlite3_mprintf("%s", text);
  return SQLITE_ERROR;
}

int openCursor(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
  *cursor = new (std::nothrow) Cursor();
  return *cursor ? SQLITE_OK : failed(table, noMemoryText());
}

int closeCursor(sqlite3_vtab_cursor* cursor) {
  delete static_cast<Cursor*>(cursor);
  return SQLITE_OK;
}

std::string_view keyText(const ViewRow& row, size_t column) {
  const auto* text = std::get_if<std::string>(&row[column]);
  return text ? std::string_view(*text) : std::string_view();
}

// The text without the blanks at its end, which do not count when texts are compared.
std::string_view argumentText(sqlite3_value* value) {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
  std::string_view text =
      bytes ? std::string_view(bytes, static_cast<size_t>(sqlite3_value_bytes(value)))
            : std::string_view();
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

int compareKeys(const ViewRow& row, const std::vector<std::string_view>& keys) {
  for (size_t i = 0; i < keys.size(); ++i) {
    if (int order = keyText(row, i).compare(keys[i])) return order;
  }
  return 0;
}

int filter(sqlite3_vtab_cursor* base, int given, const char*, int, sqlite3_value** values) {
  try {
    auto& table = *static_cast<SystemTable*>(base->pVtab);
    table.refresh();
    auto& cursor = *static_cast<Cursor*>(base);
    cursor.rows = table.rows;
    std::vector<std::string_view> keys;
    keys.reserve(static_cast<size_t>(given));
    for (int i = 0; i < given; ++i) keys.push_back(argumentText(values[i]));
    const auto& rows = *cursor.rows;
    auto first = std::partition_point(
        rows.begin(), rows.end(), [&](const ViewRow& row) { return compareKeys(row, keys) < 0; });
    auto last = std::partition_point(
        first, rows.end(), [&](const ViewRow& row) { return compareKeys(row, keys) <= 0; });
    cursor.at = static_cast<size_t>(first - rows.begin());
    cursor.end = static_cast<size_t>(last - rows.begin());
    return SQLITE_OK;
  } catch (const SqlError& error) {
    return failed(base->pVtab, failureText(error).c_str());
  } catch (const std::bad_alloc&) {
    return failed(base->pVtab, noMemoryText());
  }
}

int next(sqlite3_vtab_cursor* cursor) {
  ++static_cast<Cursor*>(cursor)->at;
  return SQLITE_OK;
}

int atEnd(sqlite3_vtab_cursor* base) {
  auto& cursor = *static_cast<Cursor*>(base);
  return cursor.at >= cursor.end;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int index) {
  auto& cursor = *static_cast<Cursor*>(base);
  const ViewValue& value = (*cursor.rows)[cursor.at][static_cast<size_t>(index)];
  if (const auto* number = std::get_if<int64_t>(&value)) {
    sqlite3_result_int64(context, *number);
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    sqlite3_result_text64(context, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  }
  return SQLITE_OK;
}

int rowNumber(sqlite3_vtab_cursor* base, sqlite3_int64* number) {
  *number = static_cast<sqlite3_int64>(static_cast<Cursor*>(base)->at);
  return SQLITE_OK;
}

const sqlite3_module& moduleMethods() {
  static const sqlite3_module kMethods = [] {
    sqlite3_module methods{};
    methods.xConnect = connect;
    methods.xDisconnect = disconnect;
    methods.xBestIndex = bestIndex;
    methods.xOpen = openCursor;
    methods.xClose = closeCursor;
    methods.xFilter = filter;
    methods.xNext = next;
    methods.xEof = atEnd;
    methods.xColumn = column;
    methods.xRowid = rowNumber;
    return methods;
  }();
  return kMethods;
}

}  // namespace

void registerSystemTables(sqlite3* database, const CatalogSource& source) {
  for (const SystemView& view : systemViews()) {
    std::string name = std::string(kSystemViewSchema) + "." + std::string(view.name);
    auto module = std::make_unique<Module>(Module{&view, &source});
    int rc = sqlite3_create_module_v2(database, name.c_str(), &moduleMethods(), module.release(),
                                      [](void* m) { delete static_cast<Module*>(m); });
    if (rc != SQLITE_OK) throw failure(database, rc);
  }
}

}  // namespace orv::sqlite
