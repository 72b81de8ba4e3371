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

// Reads nodes.
class RdbPlan {
 public:
  RdbPlan(QrkStruct* ctx, TableQueries& queries, DocumentOwner owner)
      : ctx_(ctx), queries_(queries), owner_(std::move(owner)) {}

  // The name of a node and what follows from it. `parent`: null for the root.
  void meet(DadNode* parent, DadNode& node);
  // The children and tags of an element_node that was met, at this depth (the root has 1).
  void open(DadNode& node, int depth);
  // qrkFindTabForIntermediate.
  void findGroup(DadNode& node);
  // The table that a value comes from, then its column.
  void findSource(DadNode& node);
  void findColumn(DadNode& node);

 private:
  void readName(DadNode& node);
  TableName tableNameOf(const DadNode& node) const;
  DOM_Element handle(const DadNode& node) const { return {owner_, node.dad}; }
  DOM_Element columnNode(const DadNode& node) const {
    return handle(node).firstDescendant(u"RDB_node");
  }

  QrkStruct* const ctx_;
  TableQueries& queries_;
  const DocumentOwner owner_;
};

}  // namespace orvxml
