// SQL mapping on a test's own database: a statement and an element tree become documents.
#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "src/compose/sql_mapping.h"
#include "src/server_access/cli_handles.h"
#include "tests/support/database.h"

namespace orvxml::test {

// A context with a connection of the call-level interface and a place for the outcome.
struct CliCall {
  CliCall() { EXPECT_EQ(connection.open(), 0) << context.msg; }
  SQLHDBC hdbc() const { return connection.handle(); }
  Report report() { return {.ctx = context, .msg = context.msg, .errCode = &code}; }

  CallContext context;
  CliConnection connection{context, "test", context.msg};
  int code = 0;
};

// The two halves of a statement: in front of " ORDER BY " and behind it.
struct MappedStatement {
  explicit MappedStatement(const std::string& text)
      : base(text.substr(0, text.find(" ORDER BY "))),
        order(text.substr(text.find(" ORDER BY ") + 10)) {}
  std::string base;
  std::string order;
};

// The level map of a statement, or the outcome that there is none.
struct LevelMap {
  LevelMap(CliCall& call, const std::string& text) {
    const MappedStatement statement(text);
    rc = qrkLmAcquire(call.context, &map, call.hdbc(), statement.base.c_str(),
                      statement.order.c_str(), &call.code, call.context.msg);
  }
  ~LevelMap() { EXPECT_EQ(qrkLmRelease(nullptr, map), 0); }
  LevelMap(const LevelMap&) = delete;
  LevelMap& operator=(const LevelMap&) = delete;

  level_map* map = nullptr;
  int rc = 0;
};

struct Composed {
  std::vector<std::string> documents;  // without their header
  int code = 0;
  std::string message;
  bool operator==(const Composed&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Composed& composed) {
  for (const std::string& document : composed.documents)
    out << document.substr(0, 2000) << "\n----\n";
  return out << composed.code << ' ' << composed.message;
}

inline std::string sqlDad(const std::string& tree) {
  return "<DAD><Xcollection><prolog>?xml version=\"1.0\"?</prolog><root_node>" + tree +
         "</root_node></Xcollection></DAD>";
}

// All documents that the statement gives by the tree, up to the first failure. `traceFile`: the
// path of a file for the trace.
inline Composed composeSql(const std::string& statement, const std::string& tree,
                           const std::string& traceFile = "") {
  static const std::string kHeader = "<?xml version=\"1.0\"?>";
  CliCall call;
  QrkStruct* const ctx = call.context;
  if (!traceFile.empty()) {
    ctx->traceFile = std::fopen(traceFile.c_str(), "w");
    ctx->traceOn = 1;
  }
  std::string text = sqlDad(tree);
  DOM_Document dad;
  EXPECT_EQ(qrkDOM(ctx, text.data(), 1, 1, dad, call.context.sqlState, call.context.msg), 0)
      << call.context.msg;
  Composed composed;
  int rc = 0;
  {
    const LevelMap map(call, statement);
    rc = map.rc;
    const MappedStatement parts(statement);
    const SqlCall sqlCall{call.report(), call.hdbc(), map.map};
    SqlComposition objects(sqlCall, dad.getDocumentElement(), parts.base.c_str());
    if (rc == 0) rc = objects.open();
    while (rc == 0 && (rc = objects.nextObject()) == 0) {
      OutBuffer buffer(ctx);
      EXPECT_EQ(qrkBufAcquire(ctx, buffer.get(), kDocumentInitialSize, kNoSizeLimit, QRK_LOC_MEMORY,
                              &call.code, call.context.msg, 0),
                0);
      rc = objects.writeDocument(buffer.get(), kNoSizeLimit);
      if (rc == kKeyIsNull) {
        rc = 0;
        continue;
      }
      if (rc) break;
      const std::string document = buffer->data;
      EXPECT_TRUE(document.starts_with(kHeader)) << document;
      composed.documents.push_back(document.substr(kHeader.size()));
    }
    EXPECT_EQ(objects.close(), 0) << call.context.msg;
  }
  EXPECT_NE(rc, 0);
  composed.code = call.code;
  if (rc != SQL_NO_DATA) {
    EXPECT_NE(call.code, 0) << "a failure without a code: " << call.context.msg;
    composed.message = call.context.msg;
  }
  return composed;
}

// ---- Element trees. Apart from the functions of the same names for the other mapping, which stand
// in the same test program.
inline namespace sql_mapping {

inline std::string attribute(const std::string& name, const std::string& column) {
  return "<attribute_node name='" + name + "'><column name='" + column + "'/></attribute_node>";
}
inline std::string text(const std::string& column) {
  return "<text_node><column name='" + column + "'/></text_node>";
}
inline std::string element(const std::string& name, const std::string& content,
                           const std::string& occurrence = "") {
  return "<element_node name='" + name + "'" +
         (occurrence.empty() ? "" : " multi_occurrence='" + occurrence + "'") + ">" + content +
         "</element_node>";
}

}  // namespace sql_mapping
}  // namespace orvxml::test
