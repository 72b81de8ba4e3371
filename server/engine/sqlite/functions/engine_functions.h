// The SQL functions of our own that rendered statements use, and what they share. Each is named
// ORV_...; all are harmless in a schema, so that checks and defaults may hold them.
#pragma once

#include <sqlite3.h>

#include <functional>
#include <memory>
#include <new>
#include <string>

#include "server/catalog/catalog_data.h"
#include "server/engine/engine.h"
#include "server/values/value_conversion.h"

namespace orv::sqlite {

class IdleTableUses;

// Gives the catalog's content of the moment.
using CatalogSource = std::function<std::shared_ptr<const CatalogData>()>;

// What the functions and tables of one connection share. It outlives the connection's statements.
class Environment {
 public:
  explicit Environment(int codePage, CatalogSource source = {})
      : catalog(std::move(source)), length_(std::make_unique<TextLength>(codePage)) {}

  const TextLength& length() const { return *length_; }
  void setCodePage(int codePage) { length_ = std::make_unique<TextLength>(codePage); }

  std::string storage;  // the conversion functions' own

  const CatalogSource catalog;
  FunctionHost* host = nullptr;  // null: registered functions cannot be called
  // Of the statement that is running; see routine_calls.h.
  std::shared_ptr<IdleTableUses> idleTableUses;

 private:
  std::unique_ptr<TextLength> length_;
};

inline ValueView viewOf(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      return ValueView::of(int64_t{sqlite3_value_int64(value)});
    case SQLITE_FLOAT:
      return ValueView::of(sqlite3_value_double(value));
    case SQLITE_TEXT: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
      if (!text) throw std::bad_alloc();
      return ValueView::ofText({text, static_cast<size_t>(sqlite3_value_bytes(value))});
    }
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
      auto size = static_cast<size_t>(sqlite3_value_bytes(value));
      return ValueView::ofBlob({bytes ? bytes : "", size});
    }
    default:
      return ValueView::null();
  }
}

void setResult(sqlite3_context* context, const ValueView& value);

void registerConversions(sqlite3* database, Environment& environment);  // and LIKE
void registerArithmetic(sqlite3* database, Environment& environment);
void registerAggregates(sqlite3* database, Environment& environment);
void registerStrings(sqlite3* database, Environment& environment);
void registerNumbers(sqlite3* database, Environment& environment);  // and dates
void registerTriggerFunctions(sqlite3* database, Environment& environment);
void registerCollation(sqlite3* database);

}  // namespace orv::sqlite
