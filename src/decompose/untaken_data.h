// What a document holds and a mapping did not put into its tables: elements, attributes and texts
// that the mapping does not name, and values that it names but that a name leads elsewhere. The
// DAD's tree and the document are gone through side by side, as the writer of a mapping reads them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "src/decompose/data_notices.h"

namespace orvxml {

class UntakenData {
 public:
  using Element = xercesc::DOMElement;
  using Takers = std::map<const Element*, std::vector<int>>;

  // `takers`: the tables into whose rows the values of each leaf went.
  UntakenData(const MappingSurvey& survey, const Takers& takers, DataWarnings& warnings);

  // Values that went elsewhere are warned of at once.
  void findIn(const Element* root);
  // One line: what the mapping does not name, with counts, and the tables without a row. Empty when
  // there is nothing to say.
  std::string text(std::span<const size_t> rowCounts) const;

 private:
  // The element_nodes of one name below those of another.
  struct Node {
    std::map<std::u16string, std::unique_ptr<Node>, std::less<>> children;
    // What is mapped, with the values of it that do not go where the mapping says alone.
    std::map<std::u16string, std::vector<const MappedLeaf*>, std::less<>> attributes;
    std::vector<const MappedLeaf*> texts;
    bool hasText = false;
    bool isWhole = false;  // the element is stored as it is
  };
  enum Kind { kElement, kAttribute, kText };
  struct Names {
    size_t count = 0;
    std::vector<std::pair<std::string, size_t>> counts;  // of the first names that were met
    std::map<std::string, size_t> indexes;
  };

  Node& nodeOf(const Element* dadElement);
  void look(const Node& node, const Element* element);
  void lookAtAttributes(const Node& node, const Element* element);
  void lookAtText(const Node& node, const Element* element);
  std::span<const int> takersOf(const MappedLeaf& leaf) const;
  bool goesAstray(const MappedLeaf& leaf) const;
  void warn(const std::vector<const MappedLeaf*>& astray, const Element* element);
  void warnLost(const MappedLeaf& leaf, const Element* element);
  void warnElsewhere(const MappedLeaf& leaf, int table, const Element* element);
  std::string reason(const MappedLeaf& leaf) const;
  void add(Kind kind, const std::string& name);

  const MappingSurvey& survey_;
  const Takers& takers_;
  DataWarnings& warnings_;
  Node root_;
  std::map<const Element*, Node*> nodes_;
  Names names_[3];
};

}  // namespace orvxml
