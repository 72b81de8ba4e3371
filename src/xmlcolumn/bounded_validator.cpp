#include "src/xmlcolumn/bounded_validator.h"

#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/validators/schema/SchemaAttDef.hpp>

namespace orvxml {

bool BoundedValidator::checkContent(xercesc::XMLElementDecl* element, xercesc::QName** children,
                                    XMLSize_t count, XMLSize_t* failing) {
  require(getCurrentDatatypeValidator(), getNormalizedValue());
  return SchemaValidator::checkContent(element, children, count, failing);
}

void BoundedValidator::validateAttrValue(const xercesc::XMLAttDef* declared, const XMLCh* value,
                                         bool early, const xercesc::XMLElementDecl* element) {
  require(static_cast<const xercesc::SchemaAttDef*>(declared)->getDatatypeValidator(), value);
  SchemaValidator::validateAttrValue(declared, value, early, element);
}

void BoundedValidator::require(const xercesc::DatatypeValidator* type, const XMLCh* value) {
  if (!value || costs_.allows(type, value)) return;
  throw xercesc::SAXParseException(
      u"The schema's patterns would take too long to judge the document's values.",
      *getScanner()->getLocator());
}

}  // namespace orvxml
