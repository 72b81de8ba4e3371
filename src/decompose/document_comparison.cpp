#include "orvxml/document_comparison.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "src/decompose/data_notices.h"
#include "src/outcome/text_cut.h"
#include "src/parser/parser_handlers.h"

namespace orvxml {

namespace {

using Attribute = std::pair<std::u16string, std::u16string>;

// An element with all that counts of it.
struct Element {
  std::u16string name;
  std::vector<Attribute> attributes;  // with a value, by name
  std::u16string text;
  std::vector<Element> children;  // that hold something
  size_t number = 0;              // in the document
  size_t hash = 0;                // of all of it, whatever the order of the children

  bool isEmpty() const { return attributes.empty() && text.empty() && children.empty(); }
  void finish();
};

size_t mixed(size_t hash, size_t more) {
  return (hash ^ (more + 0x9E3779B97F4A7C15u + (hash << 6) + (hash >> 2))) * 0x100000001B3u;
}

// A number without the zeros that end its fraction: a column of decimals writes them by its scale.
// Zeros in front stay, they may be part of a code.
std::u16string_view withoutFinalZeros(std::u16string_view value) {
  const size_t digits = value.starts_with(u'-') ? 1 : 0;
  const size_t point = value.find_first_not_of(u"0123456789", digits);
  if (point == value.npos || point == digits || value[point] != u'.') return value;
  if (value.find_first_not_of(u"0123456789", point + 1) != value.npos) return value;
  const size_t last = value.find_last_not_of(u'0');
  return value.substr(0, last == point ? point : last + 1);
}

bool isSame(std::u16string_view a, std::u16string_view b) {
  return withoutFinalZeros(a) == withoutFinalZeros(b);
}

void Element::finish() {
  if (isBlank(text)) text.clear();
  std::sort(attributes.begin(), attributes.end());
  const auto of = [](std::u16string_view value) {
    return std::hash<std::u16string_view>()(withoutFinalZeros(value));
  };
  hash = mixed(of(name), of(text));
  for (const auto& [attribute, value] : attributes)
    hash = mixed(mixed(hash, of(attribute)), of(value));
  std::vector<size_t> hashes;
  hashes.reserve(children.size());
  for (const Element& child : children) hashes.push_back(child.hash);
  std::sort(hashes.begin(), hashes.end());
  for (const size_t below : hashes) hash = mixed(hash, below);
}

// Builds the tree of a document. The parser bounds its depth.
class TreeBuilder : public xercesc::DefaultHandler {
 public:
  Element takeRoot() { return std::move(root_); }

  void startElement(const XMLCh*, const XMLCh*, const XMLCh* name,
                    const xercesc::Attributes& attributes) override {
    Element element;
    element.name = name;
    element.number = ++number_;
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
      const std::u16string_view attribute = attributes.getQName(i);
      const XMLCh* value = attributes.getValue(i);
      if (*value == 0 || isDeclaration(attribute)) continue;
      element.attributes.emplace_back(attribute, value);
    }
    open_.push_back(std::move(element));
  }
  void characters(const XMLCh* text, const XMLSize_t length) override {
    open_.back().text.append(text, length);
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override {
    Element element = std::move(open_.back());
    open_.pop_back();
    element.finish();
    if (open_.empty()) {
      root_ = std::move(element);
    } else if (!element.isEmpty()) {
      open_.back().children.push_back(std::move(element));
    }
  }

 private:
  std::vector<Element> open_;
  Element root_;
  size_t number_ = 0;
};

Element parsed(const char* document, size_t size) {
  TreeBuilder builder;
  readEvents(document, size, builder);
  return builder.takeRoot();
}

struct Found {
  size_t element;
  std::string text;
};

std::string quoted(const std::u16string& text) {
  return quotedValue(text);
}

Found otherValue(const Element& in, const std::string& what, const std::u16string& document,
                 const std::u16string& composed) {
  return {in.number, what + (document.empty() ? " is empty" : " is " + quoted(document)) +
                         ", the rows give " + (composed.empty() ? "nothing" : quoted(composed))};
}

const std::u16string& valueOf(const Element& element, const std::u16string& attribute) {
  static const std::u16string kNone;
  const auto found = std::find_if(element.attributes.begin(), element.attributes.end(),
                                  [&](const Attribute& other) { return other.first == attribute; });
  return found == element.attributes.end() ? kNone : found->second;
}

// The children of `all` that have no equal among `others`, each of which counts once.
std::vector<const Element*> without(const std::vector<Element>& all,
                                    const std::vector<Element>& others) {
  std::unordered_map<size_t, size_t> counts;
  for (const Element& other : others) ++counts[other.hash];
  std::vector<const Element*> left;
  for (const Element& element : all) {
    const auto equal = counts.find(element.hash);
    if (equal == counts.end() || equal->second == 0) {
      left.push_back(&element);
    } else {
      --equal->second;
    }
  }
  return left;
}

Found firstDifference(const Element& document, const Element& composed);

Found differenceOfChildren(const Element& document, const Element& composed) {
  const std::vector<const Element*> lost = without(document.children, composed.children);
  const std::vector<const Element*> more = without(composed.children, document.children);
  if (lost.empty()) {
    return {document.number, "the rows give one more '" + shown(more.front()->name) + "' in '" +
                                 shown(document.name) + "'"};
  }
  const Element& child = *lost.front();
  for (const Element* other : more) {
    if (other->name == child.name) return firstDifference(child, *other);
  }
  return {child.number, "element '" + shown(child.name) + "' is not in what the rows give"};
}

// Of two elements that differ.
Found firstDifference(const Element& document, const Element& composed) {
  const std::string name = "'" + shown(document.name) + "'";
  if (document.name != composed.name) {
    return otherValue(document, "the name of " + name, document.name, composed.name);
  }
  for (const Element* side : {&document, &composed}) {
    for (const auto& [attribute, value] : side->attributes) {
      const std::u16string& ours = valueOf(document, attribute);
      const std::u16string& theirs = valueOf(composed, attribute);
      if (isSame(ours, theirs)) continue;
      return otherValue(document, "attribute '" + shown(attribute) + "' of " + name, ours, theirs);
    }
  }
  if (!isSame(document.text, composed.text)) {
    return otherValue(document, "the text of " + name, document.text, composed.text);
  }
  return differenceOfChildren(document, composed);
}

// What the exception at hand says of a document that was to be read.
ComparisonResult failureOfRead() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return kNoMemoryToCompare;
  } catch (const xercesc::OutOfMemoryException&) {
    return kNoMemoryToCompare;
  } catch (...) {
    return kNoDocument;
  }
}

}  // namespace

struct ComparedDocument {
  Element root;
};

ComparisonResult qrkReadForComparison(const char* document, size_t size,
                                      ComparedDocument** read) try {
  *read = nullptr;
  auto made = std::make_unique<ComparedDocument>(ComparedDocument{parsed(document, size)});
  *read = made.release();
  return kSameDocument;
} catch (...) {
  return failureOfRead();
}

ComparisonResult qrkCompareDocument(const ComparedDocument* document, const char* composed,
                                    size_t size, DocumentDifference* difference) try {
  const Element& ours = document->root;
  const Element theirs = parsed(composed, size);
  if (ours.hash == theirs.hash) return kSameDocument;
  const Found found = firstDifference(ours, theirs);
  difference->element = found.element;
  std::string_view text(found.text);
  if (text.size() >= sizeof difference->text) {
    text = text.substr(0, sizeof difference->text - 1);
    text = text.substr(0, wholeCharacters(nullptr, text));
  }
  difference->text[text.copy(difference->text, text.size())] = '\0';
  return kOtherDocument;
} catch (...) {
  return failureOfRead();
}

void qrkFreeComparedDocument(ComparedDocument* document) {
  delete document;
}

}  // namespace orvxml
