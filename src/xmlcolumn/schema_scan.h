// What is looked at in a schema's file before the parser gets it: its target name space, the parts
// that it names, and what tells how much the parser would spend on it.
//
// A component is a definition under the schema's root (or in a redefinition). The parser compiles
// one when another refers to it, one inside the other, so that a chain of references costs stack;
// and it expands the content of a type with all that it takes from groups and base types.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <xercesc/sax/Locator.hpp>

#include "orvxml/parser_handlers.h"

namespace orvxml {

// A size that is known in part: fixed, and so many times that of other components.
struct SchemaSize {
  double fixed = 0;
  std::vector<std::pair<std::u16string, double>> of;  // key of the component, how often

  void add(const SchemaSize& other, double times = 1);
};

struct SchemaComponent {
  std::u16string name;                // local
  int depth = 0;                      // of the elements below it
  std::vector<std::u16string> names;  // that it refers to, local
};

// A pattern or a value that the schema holds, with its place.
struct SchemaText {
  std::u16string text;
  uint64_t line = 0;
  uint64_t column = 0;
};

class SchemaScan : public ThrowingHandler {
 public:
  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }
  void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) override;

  const std::u16string& targetNamespace() const { return targetNamespace_; }
  // As written, of every part that is included, imported or redefined.
  const std::vector<std::u16string>& locations() const { return locations_; }
  int64_t elements() const { return elements_; }
  const std::vector<SchemaComponent>& components() const { return components_; }
  // Element names with the head of their substitution group.
  const std::vector<std::pair<std::u16string, std::u16string>>& heads() const { return heads_; }
  // What a key stands for: "g:" and the name of a group, "t:" of a type with its content, "u:" of a
  // simple type with the types that a value of it may be tried as.
  const std::vector<std::pair<std::u16string, SchemaSize>>& sizes() const { return sizes_; }
  const std::vector<SchemaText>& patterns() const { return patterns_; }
  const std::vector<SchemaText>& values() const { return values_; }

 private:
  // An open element that content is summed up for.
  struct Level {
    std::u16string kind;
    std::u16string key;  // of sizes_, or empty
    SchemaSize size;
    double times = 1;  // that it counts in the one around it
  };

  void noteReferences(const xercesc::Attributes& attributes);
  void noteTexts(std::u16string_view kind, const xercesc::Attributes& attributes);
  Level levelOf(std::u16string_view kind, const xercesc::Attributes& attributes) const;

  const xercesc::Locator* locator_ = nullptr;
  std::u16string targetNamespace_;
  std::vector<std::u16string> locations_;
  int64_t elements_ = 0;
  std::vector<Level> open_;
  size_t componentDepth_ = 0;  // of the element that a component is; 0: none is open
  std::vector<SchemaComponent> components_;
  std::vector<std::pair<std::u16string, std::u16string>> heads_;
  std::vector<std::pair<std::u16string, SchemaSize>> sizes_;
  std::vector<SchemaText> patterns_, values_;
};

}  // namespace orvxml
