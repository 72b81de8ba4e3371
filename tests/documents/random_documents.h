// Documents and location paths made from a seed. A path is drawn from a document, so that most
// select something: the steps to one of its elements, then some left out, loosened or spoilt.
#pragma once

#include <string>
#include <vector>

#include "tests/documents/path_rules.h"
#include "tests/documents/xml_tree.h"
#include "tests/support/random.h"

namespace orvxml::test {

// Few names, so that elements of one name nest and repeat; prefixes, entities, CDATA sections,
// comments, instructions, attribute defaults, white space.
std::string randomDocument(Random& random);

class PathSource {
 public:
  explicit PathSource(const XmlTree& tree) : elements_(tree.elements()) {}
  LocationPath draw(Random& random) const;
  // Several "//" in a large document keep the other engine busy for minutes.
  bool isTooMuch(const LocationPath& path) const;

 private:
  std::vector<xmlNode*> elements_;
};

}  // namespace orvxml::test
