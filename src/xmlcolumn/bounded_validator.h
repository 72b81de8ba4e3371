// The parser's validator by schemas, with a bound on the time that a value may take.
#pragma once

#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "src/xmlcolumn/schema_limits.h"

namespace orvxml {

// Ends the parse, with a SAXParseException, at a value that the schema's patterns would take too
// long to judge.
class BoundedValidator : public xercesc::SchemaValidator {
 public:
  BoundedValidator(xercesc::MemoryManager* memory, uint64_t documentBytes)
      : SchemaValidator(nullptr, memory), costs_(documentBytes) {}

  bool checkContent(xercesc::XMLElementDecl* element, xercesc::QName** children, XMLSize_t count,
                    XMLSize_t* failing) override;
  void validateAttrValue(const xercesc::XMLAttDef* declared, const XMLCh* value, bool early,
                         const xercesc::XMLElementDecl* element) override;

 private:
  void require(const xercesc::DatatypeValidator* type, const XMLCh* value);

  ValueCosts costs_;
};

}  // namespace orvxml
