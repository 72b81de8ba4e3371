// What a location path must select in a document, told by another engine.
//
// A path is kept as its steps, written as a location path or as XPath. Most paths select in both
// languages the same values; where the rules of location paths ask for something else, `Difference`
// says why, and the expectation follows the rules.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/documents/xml_tree.h"

namespace orvxml::test {

struct PathStep {
  bool anyDepth = false;  // "//" in front
  std::string name;       // "*": any
  std::string attribute;  // of the test [@attribute="value"]; empty: no test
  std::string value;
  bool hasPosition = false;  // "[2]"
};

struct LocationPath {
  std::vector<PathStep> steps;
  std::optional<std::string> attribute;  // "*": all
  bool attributeAtAnyDepth = false;      // "//@" in front of it

  std::string text() const;   // as the library reads it
  std::string xpath() const;  // the same expression for the tree
  // XPath for what the path selects by its rules.
  std::string ruledXpath() const;
  bool hasAnyDepth() const;
  std::vector<PathStep> effectiveSteps() const;
};

enum class Difference {
  // "[2]" is no test.
  Position,
  // A step with a quoted test reaches to the first "]" behind the next "/".
  SwallowedSteps,
  // "a//@x" takes the attribute of what is below a, not of a itself.
  AttributeOfDescendants,
  // With "//", an element inside a selected one opens no value of its own when it is selected too.
  // When it is not, the text behind it belongs to no value: the selection has ended there.
  SelectionWithinSelection,
  // With markup a path to an attribute gives the element that has it.
  MarkupOfAttribute,
};

enum class Form { Text, Markup };

struct Expected {
  std::vector<std::string> values;
  std::vector<std::string> plain;  // of the XPath that reads the same
};

Expected expectedValues(const XmlTree& tree, const LocationPath& path, Form form);
// Why the values may differ from those of the plain XPath.
std::set<Difference> allowedDifferences(const LocationPath& path, Form form);

// The document element after an update with `value`.
std::string expectedUpdate(const XmlTree& tree, const LocationPath& path, const std::string& value);

}  // namespace orvxml::test
