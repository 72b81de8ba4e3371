#include "src/xmlcolumn/schema_scan.h"

#include <string_view>

#include <xercesc/sax2/Attributes.hpp>

namespace orvxml {
namespace {

std::u16string_view localPart(std::u16string_view name) {
  return name.substr(name.find(u':') + 1);
}

std::u16string_view valueOf(const xercesc::Attributes& attributes, const XMLCh* name) {
  const XMLCh* const value = attributes.getValue(name);
  return value ? value : std::u16string_view();
}

}  // namespace

void SchemaScan::startElement(const XMLCh*, const XMLCh*, const XMLCh* name,
                              const xercesc::Attributes& attributes) {
  if (!metRoot_) targetNamespace_ = valueOf(attributes, u"targetNamespace");
  metRoot_ = true;
  const std::u16string_view kind = localPart(name);
  if (kind == u"include" || kind == u"import" || kind == u"redefine") {
    locations_.emplace_back(valueOf(attributes, u"schemaLocation"));
  }
}

}  // namespace orvxml
