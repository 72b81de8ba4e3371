// SQL mapping on a test's own database: a statement and an element tree become documents.
#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "src/compose/sql_mapping.h"
#include "src/outcome/all_steps.h"
#include "src/outcome/edge.h"
#include "src/server_access/cli_handles.h"
#include "tests/support/database.h"

namespace orvxml::test {

// A context with a connection of the call-level interface and a place for the outcome.
struct CliCall {
  CliCall() { connection.open(); }
  SQLHDBC hdbc() const { return connection.handle(); }
  // Runs `work` at an edge.
  template <class Work>
  int report(Work&& work) {
    return code = atEdge(Report{context, context.msg}, std::forward<Work>(work));
  }

  CallContext context;
  ServerConnection connection{context};
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

inline LevelMap levelMapOf(CliCall& call, const MappedStatement& statement) {
  return qrkLmAcquire(call.context, call.hdbc(), statement.base.c_str(), statement.order.c_str());
}

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
  const DOM_Document dad = qrkDOM(ctx, sqlDad(tree).c_str(), 1, 1);
  Composed composed;
  composed.code = call.report([&] {
    const MappedStatement parts(statement);
    const LevelMap map = levelMapOf(call, parts);
    SqlComposition objects({ctx, call.hdbc(), *map}, dad.getDocumentElement(), parts.base.c_str());
    AllSteps()
        .run([&] {
          objects.open();
          while (objects.nextObject()) {
            OutBuffer buffer(ctx);
            qrkBufAcquire(ctx, buffer.get(), kDocumentInitialSize, kNoSizeLimit, QRK_LOC_MEMORY,
                          false);
            if (!objects.writeDocument(buffer.get(), kNoSizeLimit)) continue;
            const std::string document = buffer->data;
            EXPECT_TRUE(document.starts_with(kHeader)) << document;
            composed.documents.push_back(document.substr(kHeader.size()));
          }
        })
        .run([&] { objects.close(); })
        .end();
  });
  if (composed.code != 0) composed.message = call.context.msg;
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
