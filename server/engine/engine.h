// The one interface between the server layer and the database engine below it. It takes resolved
// statements and plain values, never ORV text; nothing above it knows which engine runs.
//
// Everything throws SqlError with the SQLCODE of the server layer: -803 unique keys, -530 a child
// without parent, -532 a parent with children, -407 null into NOT NULL, -545 a check constraint,
// -433 (22001) a value too long, -413 (22003) numeric overflow, -420 (22018) text that is no
// number, -180 / -181 (22007) malformed or impossible dates and times, -801 division by zero, -911
// the database is locked by another process, -968 disk full, -901 anything else. A failure may end
// the unit of work: `inUnitOfWork` tells.
//
// Text is UTF-8 on this side; the code page of the database matters only for lengths in bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "server/resolve/catalog.h"
#include "server/syntax/ast.h"
#include "server/values/value_view.h"

namespace orv {

// One use of a scalar function in one run of a statement: the engine asks the host for it at the
// first call and destroys it at the end of the run, which makes the final call that the function
// may want. Failures are SqlErrors; the destructor swallows them.
class ScalarFunctionUse {
 public:
  virtual ~ScalarFunctionUse() = default;
  // One argument per parameter, of its type already. The result is one of `Function::returned`,
  // not yet converted to the function's result; its bytes are good until the next call.
  virtual ValueView call(std::span<const ValueView> arguments) = 0;
};

// One use of a table function in one run of a statement: opened and closed once for each row of the
// tables that its arguments refer to.
class TableFunctionUse {
 public:
  virtual ~TableFunctionUse() = default;  // closes what is open
  virtual void open(std::span<const ValueView> arguments) = 0;
  virtual bool fetch() = 0;
  virtual ValueView column(int index) = 0;  // of the row fetched, good until the next fetch
  virtual void close() = 0;
};

// Who calls registered functions for the engine. A use keeps what it needs of `function`.
class FunctionHost {
 public:
  virtual ~FunctionHost() = default;
  virtual std::unique_ptr<ScalarFunctionUse> useScalar(const Function& function) = 0;
  virtual std::unique_ptr<TableFunctionUse> useTable(const Function& function) = 0;
};

// A statement ready to run: bind, then step until it is done, then reset before the next run.
class EngineStatement {
 public:
  virtual ~EngineStatement() = default;

  // `marker` from 0. The value has been converted to the marker's resolved type already; the bytes
  // must stay valid until reset().
  virtual void bind(int marker, const ValueView& value) = 0;
  // True when a row is there, false at the end (and for statements without a result, which then
  // have run). After a failure the statement is reset and has changed nothing.
  virtual bool step() = 0;
  // Column of the current row, from 0; valid until the next step() or reset().
  virtual ValueView column(int index) = 0;
  virtual void reset() = 0;
  virtual int64_t changes() const = 0;  // rows changed by the last run
};

// What a statement does to the stored tables. Declared temporary tables are not among them.
enum class Access : uint8_t { None, Reads, Changes };

class Engine {
 public:
  virtual ~Engine() = default;

  virtual Catalog& catalog() = 0;
  // Lets the catalog follow what other connections have committed, unless the unit of work sees one
  // state of the database already.
  virtual void lookForChanges() = 0;

  // The unit of work. begin() is called before each statement of one, with what that is about to
  // do; commit and rollback end it. From the first statement on that reads or changes, the unit of
  // work and the catalog see one state of the database. A unit of work that begins with a change
  // waits for its turn to change. Open EngineStatements survive a commit only after reset().
  virtual void begin(Access access) = 0;
  virtual void commit() = 0;
  virtual void rollback() = 0;
  virtual bool inUnitOfWork() const = 0;
  virtual void savepoint(std::string_view name) = 0;
  virtual void releaseSavepoint(std::string_view name) = 0;
  virtual void rollbackToSavepoint(std::string_view name) = 0;

  // Select, Insert, Update, Delete.
  virtual std::unique_ptr<EngineStatement> prepare(const Statement& resolved) = 0;

  // Whom prepared statements ask for registered functions; it outlives them. Null: there are none.
  virtual void setFunctionHost(FunctionHost* host) = 0;

  // Every CREATE, DROP, ALTER and GRANT; also records procedures and functions. The statement has
  // been resolved.
  virtual void applyDdl(const Statement& resolved) = 0;

  virtual void setFunctionPath(std::vector<std::string> path) = 0;
  virtual void setDefaultSchema(std::string schema) = 0;
  virtual void bindPackage(const Package& package, const std::vector<PackageSection>& sections) = 0;
};

// Opens the engine that `url` names ("sqlite:PATH" or a path: SQLite). `create` refuses an existing
// file with -1005.
struct EngineOptions {
  bool create = false;
  int codePage = 1208;  // for create
};
std::unique_ptr<Engine> openEngine(std::string_view url, const EngineOptions& options);

}  // namespace orv
