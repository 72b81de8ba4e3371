// Embedded SQL for C++: what a precompiled program would call.
//
// A module (a source file with embedded SQL) owns one package: a name, a consistency token and its
// static sections. Every statement of the module, static or dynamic, runs under that package: when
// it is not bound in the database of the current session, or bound with another token, the outcome
// is SQLCODE -805. The module's static statements are written into a bind file by the build, from
// the very table that the module uses (writeBindFile).
//
// Texts, those of dynamic statements included, are in the code page of the database. Every call
// reports through an `sqlca` and throws nothing. All calls run on the session that is current in
// the calling thread, inside its unit of work; without one the outcome is -1024.
//
// A section is a query, a VALUES or a data change; parameter markers `?` stand for the input host
// variables in order, and results go into the output host variables given with the call. Statements
// about large objects are sections too: "VALUES LENGTH(CAST(? AS CLOB(2G)))" with a locator as
// input, "VALUES SUBSTR(CAST(? AS CLOB(2G)), CAST(? AS INTEGER), CAST(? AS INTEGER))", and
// "VALUES CAST(? AS CLOB(2G))" into a file reference, which the server then writes.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "orv/platform.h"
#include "orv/sqlca.h"
#include "orv/sqlda.h"

namespace orv::esql {

struct Section {
  const char* name;  // unique in its module
  const char* text;  // ORV SQL
};

// A consistency token of 8 characters that another text or name of a section changes.
struct SectionsToken {
  char text[9] = "";
};
constexpr SectionsToken tokenOf(std::span<const Section> sections) {
  uint32_t hash = 2166136261U;  // FNV-1a
  for (const Section& section : sections) {
    for (const char* part : {section.name, section.text}) {
      const std::string_view whole(part);
      for (size_t i = 0; i <= whole.size(); ++i) {
        hash = (hash ^ static_cast<unsigned char>(part[i])) * 16777619U;
      }
    }
  }
  SectionsToken token;
  for (int digit = 7; digit >= 0; --digit, hash >>= 4)
    token.text[digit] = "0123456789ABCDEF"[hash & 15];
  return token;
}

struct Module {
  const char* package;  // e.g. "QRKSUWO"; its qualifier is ORVXML
  const char* token;    // consistency token, 8 characters; with sections it is tokenOf them
  std::span<const Section> sections;
};

// One host variable: a type code of sqlda.h (odd codes accepted), its length (capacity in bytes for
// kSqlCString and the large objects, as in a sqlvar otherwise), its address, its null indicator
// (may be null: then a null value gives SQLCODE -305). A kSqlClob variable is a 32-bit length
// followed by the bytes.
struct HostVariable {
  int16_t type;
  int32_t length;
  void* data;
  int16_t* indicator = nullptr;
};

// Shorthands for the usual host variables.
inline HostVariable integerVariable(int32_t* value, int16_t* indicator = nullptr) {
  return {kSqlInteger, 4, value, indicator};
}
inline HostVariable stringVariable(char* text, int32_t capacity, int16_t* indicator = nullptr) {
  return {kSqlCString, capacity, text, indicator};
}
inline HostVariable clobLocatorVariable(int32_t* locator, int16_t* indicator = nullptr) {
  return {kSqlClobLocator, 4, locator, indicator};
}
inline HostVariable clobFileVariable(SqlFileReference* file, int16_t* indicator = nullptr) {
  return {kSqlClobFile, static_cast<int32_t>(sizeof(SqlFileReference)), file, indicator};
}

using Variables = std::span<const HostVariable>;

// Runs static section `name` once: a data change, or a query of which the first row goes into
// `output` (SQLCODE 100 when there is none, -811 when there is a second).
ORV_API void execute(const Module& module, std::string_view name, Variables input, Variables output,
                     sqlca& area);

// Runs a statement text without parameters once (EXECUTE IMMEDIATE).
ORV_API void executeImmediate(const Module& module, std::string_view text, sqlca& area);

class StatementState;
class CursorState;

// A dynamic statement: PREPARE, DESCRIBE, EXECUTE.
class ORV_API Statement {
 public:
  explicit Statement(const Module& module);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void prepare(std::string_view text, sqlca& area);
  // Describes the result columns; `descriptor->sqln` entries are there. As many as columns are
  // needed, twice as many when a column is a large object or of a distinct type. When they do not
  // suffice, only `sqld` is set and the SQLCODE is 236, or 237 (distinct types), 238 (large
  // objects), 239 (both) when secondary entries are needed. `sqldata` and `sqlind` stay as they
  // are.
  void describe(sqlda* descriptor, sqlca& area);
  void execute(Variables input, sqlca& area);
  void execute(const sqlda* input, sqlca& area);

 private:
  friend class Cursor;
  std::shared_ptr<StatementState> state_;  // shared with the cursors over it
};

// A cursor over a static section or over a prepared statement. The destructor closes it.
class ORV_API Cursor {
 public:
  Cursor(const Module& module, std::string_view section);
  explicit Cursor(Statement& statement);
  ~Cursor();
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  void open(Variables input, sqlca& area);
  // Next row into the variables, or into a descriptor's data areas; SQLCODE 100 at the end. A value
  // that is cut gives SQLSTATE 01004 and its full length in the indicator.
  void fetch(Variables output, sqlca& area);
  void fetch(sqlda* output, sqlca& area);
  void close(sqlca& area);

 private:
  std::unique_ptr<CursorState> state_;
};

ORV_API void freeLocator(int32_t locator, sqlca& area);

// The three forms of CONNECT need no bound package.
//
// CONNECT without operands: the properties of the connection as tokens of sqlerrmc (token 1 the
// database name, 2 the database code page, 3 the authorization id, 9 the application code page).
ORV_API void connectionProperties(const Module& module, sqlca& area);
// CONNECT TO `database` (a path or URL), with user and password unless they are empty; the new
// session is current afterwards. `disconnect` is CONNECT RESET: commits, closes it, and makes the
// session current again that was current before.
ORV_API void connect(const Module& module, std::string_view database, std::string_view user,
                     std::string_view password, sqlca& area);
ORV_API void disconnect(const Module& module, sqlca& area);

// Writes the bind file of a module: a first line "ORVBIND 1", then package, token and sections.
// For the build. Returns false when the file cannot be written.
ORV_API bool writeBindFile(const Module& module, const std::string& path);

}  // namespace orv::esql
