// The DAD's element tree as composition walks it: what is the same for all documents and rows. Each
// node is read when the walk first gets to it, so that a mistake in the DAD is reported where, and
// only if, the walk meets it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "src/compose/rdb_query.h"

namespace orvxml {

enum class DadNodeKind : uint8_t { Element, Attribute, Text };

struct DadElement;

struct DadNode {
  DadNode(DadNodeKind nodeKind, xercesc::DOMElement* dadElement)
      : kind(nodeKind), dad(dadElement) {}

  DadNodeKind kind;
  xercesc::DOMElement* dad;

  // Once it was met: see RdbPlan::meet.
  bool isMet = false;
  bool isIntermediate = false;  // an element_node without values of its own
  bool isTrivial = false;       // an intermediate one that is written once
  TableBits tops = 0;           // tables that have their top element here, by its name
  TableBits members = 0;        // tables that the name belongs to
  std::string name;             // in the database code page; empty for a text_node
  // The node starts no query while this table's row is being written, whatever else is open.
  TableQuery* settledFor = nullptr;
  TableQuery* group = nullptr;  // of an intermediate node: the table of what it holds

  // Of an element_node, once it is written.
  std::unique_ptr<DadElement> element;

  // Of an attribute_node or text_node, once it is written.
  TableQuery* source = nullptr;
  std::optional<ColumnValue> value;  // in the source's row
  std::string item;                  // the name by which the value is known
  std::string markup;                // of an attribute: what stands in front of its value
};

struct DadElement {
  std::vector<DadNode> children;  // the attribute_nodes come first
  size_t attributes = 0;
  std::unordered_set<std::string_view> attributeNames;  // of those that were met
  bool closesStartTag = false;  // content follows, but the tag ends with attributes
  std::string startTag;         // with its line feed and blanks
  std::string endTag;           // the same when it has a line of its own
};

// Reads nodes. The functions return 0, or -1 with the failure reported.
class RdbPlan {
 public:
  RdbPlan(const RdbReport& report, TableQueries& queries, DocumentOwner owner)
      : report_(report), queries_(queries), owner_(std::move(owner)) {}

  // The name of a node and what follows from it. `parent`: null for the root.
  int meet(DadNode* parent, DadNode& node);
  // The children and tags of an element_node that was met, at this depth (the root has 1).
  int open(DadNode& node, int depth);
  // qrkFindTabForIntermediate.
  int findGroup(DadNode& node);
  // The table that a value comes from, then its column.
  int findSource(DadNode& node);
  int findColumn(DadNode& node);

 private:
  int readName(DadNode& node);
  int checkAttributeName(DadNode& parent, const DadNode& node);
  DOM_Element handle(const DadNode& node) const { return {owner_, node.dad}; }
  DOM_Element columnNode(const DadNode& node) const {
    return handle(node).firstDescendant(u"RDB_node");
  }

  const RdbReport& report_;
  TableQueries& queries_;
  const DocumentOwner owner_;
};

}  // namespace orvxml
