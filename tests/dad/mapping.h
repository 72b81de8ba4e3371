// A mapping model made from the text of a DAD, for one test.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "orvxml/mapping_model.h"
#include "orvxml/overrides.h"
#include "tests/foundation/call_context.h"

namespace orvxml::unittest {

// The DAD of a collection: what stands in the top RDB_node, and what stands in the root element.
inline std::string collection(const std::string& tables, const std::string& content,
                              const std::string& root = "doc") {
  return "<DAD><Xcollection><root_node><element_node name='" + root + "'><RDB_node>" + tables +
         "</RDB_node>" + content + "</element_node></root_node></Xcollection></DAD>";
}

inline std::string column(const std::string& table, const std::string& name,
                          const std::string& more = "") {
  return "<RDB_node><table name='" + table + "'/><column name='" + name + "' type='INTEGER'/>" +
         more + "</RDB_node>";
}

inline std::string attribute(const std::string& name, const std::string& rdb) {
  return "<attribute_node name='" + name + "'>" + rdb + "</attribute_node>";
}

// An element with a text.
inline std::string textElement(const std::string& name, const std::string& rdb) {
  return "<element_node name='" + name + "'><text_node>" + rdb + "</text_node></element_node>";
}

inline std::string repeated(const std::string& name, const std::string& content) {
  return "<element_node name='" + name + "' multi_occurrence='YES'>" + content + "</element_node>";
}

struct Mapping {
  explicit Mapping(const std::string& dad, int purpose = kForDecomposition,
                   override_list* overrides = nullptr, const char* encoding = "UTF-8",
                   int codePage = 1208)
      : call(encoding, codePage) {
    std::string text = dad;
    EXPECT_EQ(qrkDOM(&call.ctx, text.data(), 0, 1, document, call.state, call.msg), 0) << call.msg;
    const DOM_Element root = document.getDocumentElement();
    rc = qrkSetRel(&call.ctx, &model, root, purpose, &code, call.msg);
    if (rc == 0) {
      rc = qrkProcRel(&call.ctx, &model, root.firstDescendant(u"element_node"), purpose, overrides,
                      &code, call.msg);
    }
  }
  ~Mapping() { qrkFreeRel(&call.ctx, &model); }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  DOM_Element element(std::u16string_view tag) const {
    return document.getDocumentElement().firstDescendant(tag);
  }
  std::string message() const { return call.msg; }

  CallContext call;
  DOM_Document document;
  rel model{};
  int rc = 0;
  int code = 0;
};

}  // namespace orvxml::unittest
