// Compiled statements by their text. A compilation is shared by all users of one text; each user
// leases an engine statement of its own from it. A compilation is good for one catalog version:
// users that find it outdated compile anew.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/engine/engine.h"
#include "server/session/table_usage.h"
#include "server/syntax/ast.h"

namespace orv {

// What SQLDescribeParam and SQLDescribeCol answer.
struct Description {
  int16_t type = 0;
  uint32_t size = 0;
  int16_t digits = 0;
  int16_t nullable = 0;
};
Description describe(const SqlType& type);

// A statement about one large object, which the session answers from a locator without the engine.
enum class LargeObjectForm : uint8_t {
  None,
  Value,      // VALUES CAST(? AS CLOB(n))
  Length,     // VALUES LENGTH(CAST(? AS CLOB(n)))
  Substring,  // VALUES SUBSTR(CAST(? AS CLOB(n)), CAST(? AS INTEGER), CAST(? AS INTEGER))
};

struct Compilation {
  // Parses and resolves; throws SqlError.
  Compilation(std::string_view statementText, const Catalog& catalog);

  bool isPrepared() const;  // by the engine: SELECT, INSERT, UPDATE, DELETE
  const std::vector<OutputColumn>& columns() const;

  std::string text;
  std::unique_ptr<Statement> statement;
  uint64_t catalogVersion;
  TableUsage usage;
  std::vector<Description> markers;
  LargeObjectForm largeObjectForm = LargeObjectForm::None;
  std::string insertedTable;  // "T" or "S.T"; empty unless it inserts
  size_t insertSlot = 0;      // its place in the session's InsertCounts
  uint64_t insertGeneration = 0;
  std::vector<std::unique_ptr<EngineStatement>> idle;  // declared last: refers to `statement`
};
using CompilationPtr = std::shared_ptr<Compilation>;

class StatementCache {
 public:
  static constexpr size_t kCapacity = 200;

  // The compilation of `text` at the catalog's present version where it is kept, else null.
  CompilationPtr find(std::string_view text, const Catalog& catalog);
  // The compilation of `text` at the catalog's present version. Statements that the engine does
  // not prepare are compiled each time.
  CompilationPtr get(std::string_view text, const Catalog& catalog);
  void clear();

 private:
  using Order = std::list<CompilationPtr>;  // most recently used first
  Order order_;
  std::unordered_map<std::string_view, Order::iterator> byText_;  // keys point into the entries
};

}  // namespace orv
