// A mapping model made from the text of a DAD, for one test.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "orvxml/notices.h"
#include "src/dad/mapping_model.h"
#include "src/dad/overrides.h"
#include "tests/support/call_context.h"
#include "tests/support/dads.h"

namespace orvxml::unittest {

using test::attribute;
using test::element;
using test::repeated;

// The DAD of a collection: what stands in the top RDB_node, and what stands in the root element.
inline std::string collection(const std::string& tables, const std::string& content,
                              const std::string& root = "doc") {
  return test::dad(element(root, test::top(tables) + content));
}
inline std::string column(const std::string& table, const std::string& name,
                          const std::string& more = "") {
  return test::column(table, name, "INTEGER", more);
}
inline std::string textElement(const std::string& name, const std::string& rdb) {
  return element(name, test::text(rdb));
}

// What a call tells: "rule element: text" of warnings, "element text" of places.
class Heard final : public NoticeListener {
 public:
  void notice(const Notice& notice) override {
    std::string line = std::to_string(notice.mappingElement) + ' ' + notice.text;
    if (notice.kind == Notice::kFailure) {
      place = line;
    } else {
      warnings.push_back(std::string(notice.rule) + ' ' + line);
    }
  }
  std::string place;
  std::vector<std::string> warnings;
};

struct Mapping {
  explicit Mapping(const std::string& dad, MappingPurpose purpose = kForDecomposition,
                   override_list* overrides = nullptr, const char* encoding = "UTF-8",
                   int codePage = 1208)
      : call(encoding, codePage) {
    const Listening listening(heard);
    document = qrkDOM(&call.ctx, dad.c_str(), 0, 1);
    const DOM_Element root = document.getDocumentElement();
    code = call.report([&] {
      qrkSetRel(&call.ctx, &model, root, purpose);
      qrkProcRel(&call.ctx, &model, root.firstDescendant(u"element_node"), purpose, overrides);
    });
  }
  ~Mapping() { qrkFreeRel(&call.ctx, &model); }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  DOM_Element element(std::u16string_view tag) const {
    return document.getDocumentElement().firstDescendant(tag);
  }
  std::string message() const { return call.msg; }

  Heard heard;
  CallContext call;
  DOM_Document document;
  rel model{};
  int code = 0;
};

}  // namespace orvxml::unittest
