// What the rules about a mapping's traps ask of it: its mapped leaves with their columns, the
// tables that a name belongs to, and the element that stands for a row of each table. It is made of
// a mapping whose model has been built without a failure, and lives no longer than either.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "src/dad/mapping_model.h"

namespace orvxml {

struct MappedLeaf {
  xercesc::DOMElement* node;     // an attribute_node or text_node, or an element_node stored whole
  xercesc::DOMElement* rdb;      // its RDB_node
  xercesc::DOMElement* element;  // the element_node that it stands in, or is
  int table;
  int column;  // of the table's col2xml
};

class MappingSurvey {
 public:
  MappingSurvey(QrkStruct* ctx, const rel& model, const DOM_Element& root, MappingPurpose purpose);

  QrkStruct* ctx() const { return ctx_; }
  const rel& model() const { return model_; }
  const DOM_Element& root() const { return root_; }
  MappingPurpose purpose() const { return purpose_; }

  const tab& table(int index) const { return *model_.tab[index]; }
  // Of a join's partner: -1 when it is not listed or nothing is mapped from it.
  int mappedTable(const join_partner& partner) const;

  const std::vector<MappedLeaf>& leaves() const { return leaves_; }  // in document order
  // The leaf at this node, or the first one below it; null when there is none.
  const MappedLeaf* leafAt(const xercesc::DOMNode* node) const;
  const MappedLeaf* firstLeafIn(xercesc::DOMNode* node) const;
  const MappedLeaf* leafOf(const col2xml_entry* column) const;

  // The element_node that stands for a row; null for a table without mapped columns.
  xercesc::DOMElement* rowElement(int table) const {
    return rowElements_[static_cast<size_t>(table)];
  }
  // Whether rows of `table` stand inside those of `above`, or on the same element, whose rows are
  // those of the table listed first.
  bool isInside(int table, int above) const;
  // What joins go by: the value of the table that is less deep is taken by the other. In
  // composition it is the depth of the element that stands for a row, in decomposition the table's
  // level.
  int depth(int table) const;

  // The tables that the name of an element_node or attribute_node belongs to, and those whose top
  // element has it.
  TableBits members(const xercesc::DOMElement* item) const { return tablesOf(item).members; }
  TableBits tops(const xercesc::DOMElement* item) const { return tablesOf(item).tops; }
  // The table's first column mapped to the name of `item`, or -1.
  int columnNamedLike(int table, const xercesc::DOMElement* item) const;

 private:
  struct NameTables {
    TableBits members = 0, tops = 0;
  };
  void collectLeaves();
  void collectNames();
  int tableOf(const xercesc::DOMElement* rdb) const;
  std::string nameOf(const xercesc::DOMElement* item) const;
  NameTables tablesOf(const xercesc::DOMElement* item) const;

  QrkStruct* const ctx_;
  const rel& model_;
  const DOM_Element root_;
  const MappingPurpose purpose_;
  std::vector<MappedLeaf> leaves_;
  std::unordered_map<const xercesc::DOMNode*, size_t> leafAt_;
  std::vector<xercesc::DOMElement*> rowElements_;  // one for each table
  std::unordered_map<std::string, NameTables> names_;
};

}  // namespace orvxml
