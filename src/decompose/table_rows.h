// Collects the rows of one table from the document elements selected at one DAD element.
#pragma once

#include <string>

#include "src/decompose/dad_plan.h"
#include "src/decompose/foreign_key_values.h"
#include "src/decompose/row_list.h"

namespace orvxml {

class TableRows {
 public:
  TableRows(WalkState& walk, tab& table, int tableIndex)
      : walk_(walk),
        table_(table),
        tableBit_(tableBit(tableIndex)),
        rows_(table),
        keys_(walk, table, tableIndex) {}

  // The rows of all elements of the container, in list order. 0 or the message's code.
  int gen_rows(const QRK_NodeList& container, const xercesc::DOMElement* dadElement,
               const std::string& dadElementName);
  RowList& rows() { return rows_; }

 private:
  using Element = xercesc::DOMElement;

  int get_rows(DadPlan& plan, Element* element);
  int runStep(DadStep& step, Element* element);
  int rowsOfChildren(DadStep& step, Element* element);

  int takeAttribute(const DadStep& step, Element* element);
  int takeText(const DadStep& step, Element* element);
  int takeElement(const DadPlan& plan, Element* element);
  int unknownItem(const std::string& xmlName);
  int attributeWithoutValue(Element* element);

  int get_coldata(int column, const XMLCh* text, Element* element);
  int place(int column, Value value, const Element* element);
  int newRow(const Element* element, Value*& row);
  bool isPrevRowKeyEqual(Value* previous) const;

  int add_attribute_to_DOM(Element* element, const DadStep& step, const XMLCh* value);
  Element* get_named_ancestor(const Element* element);
  bool isTopElement(const Element* element) {
    return (walk_.names.of(element).topElementOf & tableBit_) != 0;
  }
  int withoutAncestor(const Element* element);

  WalkState& walk_;
  tab& table_;
  uint32_t tableBit_;
  RowList rows_;
  ForeignKeyValues keys_;
  std::string converted_;      // the value being placed
  std::u16string joinedText_;  // text of an element with several text nodes
};

}  // namespace orvxml
