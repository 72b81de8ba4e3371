// What is looked at in a schema's file before the parser gets it: its target name space and the
// parts that it names.
#pragma once

#include <string>
#include <vector>

#include "orvxml/parser_handlers.h"

namespace orvxml {

class SchemaScan : public ThrowingHandler {
 public:
  void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                    const xercesc::Attributes& attributes) override;

  const std::u16string& targetNamespace() const { return targetNamespace_; }
  // As written, of every part that is included, imported or redefined.
  const std::vector<std::u16string>& locations() const { return locations_; }

 private:
  bool metRoot_ = false;
  std::u16string targetNamespace_;
  std::vector<std::u16string> locations_;
};

}  // namespace orvxml
