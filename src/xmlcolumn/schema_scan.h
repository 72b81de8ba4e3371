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

#include "src/parser/parser_handlers.h"

namespace orvxml {

inline constexpr std::u16string_view kWhiteSpace = u" \t\r\n";

// Whether `use` takes every item of a list, as white space sets them apart.
template <class Use>
bool takesItems(std::u16string_view list, Use use) {
  for (size_t start = 0; (start = list.find_first_not_of(kWhiteSpace)) != list.npos;) {
    list.remove_prefix(start);
    const std::u16string_view item = list.substr(0, list.find_first_of(kWhiteSpace));
    if (!use(item)) return false;
    list.remove_prefix(item.size());
  }
  return true;
}

// A size that is known in part: fixed, and so many times that of other components.
struct SchemaSize {
  double fixed = 0;
  std::vector<std::pair<std::u16string, double>> of;  // key of the component, how often

  void add(const SchemaSize& other, double times = 1);
};

// Names are written as "{name space}local" behind a letter that tells the kind.
struct SchemaComponent {
  std::u16string name;
  int depth = 0;                      // of the elements below it
  std::vector<std::u16string> names;  // that it refers to
};

// A pattern or a value that the schema holds, with its place.
struct SchemaText {
  std::u16string text;
  size_t component = 0;  // that it stands in
  std::u16string type;   // name of the type that it is a value of; empty: known to the component
  uint64_t line = 0;
  uint64_t column = 0;
};

struct SchemaPart {
  std::u16string location;  // as written
  bool isImport = false;    // else it takes the name space of this file when it has none
};

class SchemaScan : public ThrowingHandler {
 public:
  // `space` is that of the file that includes this one.
  explicit SchemaScan(std::u16string space = {}) : targetNamespace_(std::move(space)) {}

  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }
  void startDTD(const XMLCh*, const XMLCh*, const XMLCh*) override { hasDtd_ = true; }
  void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) override;

  const std::u16string& targetNamespace() const { return targetNamespace_; }
  // Whether another includer would give it another one.
  bool isOfNoSpace() const { return isOfNoSpace_; }
  bool hasDtd() const { return hasDtd_; }
  const std::vector<SchemaPart>& parts() const { return parts_; }
  int64_t elements() const { return elements_; }
  int64_t declarations() const { return declarations_; }  // those of elements
  const std::vector<SchemaComponent>& components() const { return components_; }
  // Element names with the head of their substitution group.
  const std::vector<std::pair<std::u16string, std::u16string>>& heads() const { return heads_; }
  // By name: what a group holds, 'g', a type with its content, 't', and the types that a value of a
  // simple type may be tried as, 'u'.
  const std::vector<std::pair<std::u16string, SchemaSize>>& sizes() const { return sizes_; }
  const std::vector<SchemaText>& patterns() const { return patterns_; }
  const std::vector<SchemaText>& values() const { return values_; }

 private:
  // An open element that content is summed up for.
  struct Level {
    std::u16string kind;
    std::u16string key;  // of sizes_, or empty
    SchemaSize size;
    double times = 1;     // that it counts in the one around it
    size_t bindings = 0;  // around it
  };

  void noteBindings(const xercesc::Attributes& attributes);
  std::u16string_view spaceOf(std::u16string_view name) const;
  // The names of a definition in this file and of what a reference means.
  std::u16string defined(char16_t kind, std::u16string_view name) const;
  std::u16string referred(char16_t kind, std::u16string_view name) const;
  bool opensAnnotation(std::u16string_view name) const;
  void noteReferences(std::u16string_view kind, const xercesc::Attributes& attributes);
  void noteTexts(std::u16string_view kind, const xercesc::Attributes& attributes);
  Level levelOf(std::u16string_view kind, const xercesc::Attributes& attributes) const;

  const xercesc::Locator* locator_ = nullptr;
  std::u16string targetNamespace_;
  bool isOfNoSpace_ = true;
  bool hasDtd_ = false;
  std::vector<std::pair<std::u16string, std::u16string>> bindings_;  // of prefixes, innermost last
  std::vector<SchemaPart> parts_;
  int64_t elements_ = 0, declarations_ = 0;
  size_t annotationDepth_ = 0;  // open elements from an annotation on, which nothing counts
  std::vector<Level> open_;
  size_t componentDepth_ = 0;  // of the element that a component is; 0: none is open
  std::vector<SchemaComponent> components_;
  std::vector<std::pair<std::u16string, std::u16string>> heads_;
  std::vector<std::pair<std::u16string, SchemaSize>> sizes_;
  std::vector<SchemaText> patterns_, values_;
};

}  // namespace orvxml
