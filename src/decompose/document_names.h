// What the mapping says about the element names of a document. A name is converted and compared
// with the tables of the model once; afterwards a node costs one look-up by the address of its
// name, which the document holds once per name.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "src/dad/mapping_model.h"

namespace orvxml {

struct NameInfo {
  std::string text;            // in the database code page; empty when it does not convert
  size_t length = 0;           // characters in the document
  TableBits inTables = 0;      // those for which isInTab(tab[i], name)
  TableBits topElementOf = 0;  // those whose top element has the name
};

// The name of the attribute that carries the value of attribute `name` up to a top element.
std::u16string joinAttributeName(std::u16string_view name);

class DocumentNames {
 public:
  DocumentNames(QrkStruct* ctx, const rel* relinfo) : ctx_(ctx), rel_(relinfo) {}

  const NameInfo& of(const xercesc::DOMNode* node) {
    const XMLCh* name = node->getNodeName();
    if (name != lastName_) {
      lastInfo_ = &find(name);
      lastName_ = name;
    }
    return *lastInfo_;
  }

 private:
  const NameInfo& find(const XMLCh* name);

  QrkStruct* ctx_;
  const rel* rel_;
  std::unordered_map<const XMLCh*, NameInfo> infos_;
  const XMLCh* lastName_ = nullptr;
  const NameInfo* lastInfo_ = nullptr;
};

}  // namespace orvxml
