// Collects the rows of one table from the document elements selected at one DAD element.
#pragma once

#include <string>

#include "src/decompose/dad_plan.h"
#include "src/decompose/foreign_key_values.h"
#include "src/decompose/row_list.h"
#include "src/decompose/selection.h"

namespace orvxml {

class TableRows {
 public:
  TableRows(WalkState& walk, tab& table, int tableIndex)
      : walk_(walk),
        table_(table),
        tableIndex_(tableIndex),
        rows_(table, walk.watch != nullptr),
        keys_(walk, table, tableIndex) {}

  // gen_rows: the rows of all elements of the container, in their order. On the way each branch
  // takes what it selects below them.
  void collect(const Container& container, std::vector<Branch>& branches,
               const xercesc::DOMElement* dadElement, const std::string& dadElementName);
  RowList& rows() { return rows_; }

 private:
  using Element = xercesc::DOMElement;

  // A document element that is being searched.
  struct Place {
    Lineage self;
    size_t firstChild;  // of its element children in `children_`
    size_t childrenEnd;

    Element* element() const { return self.element(); }
  };
  struct Child {
    Element* element;
    const XMLCh* name;
  };

  void rowsOfElement(DadPlan& plan, const Lineage& at);
  void collectChildren(const Element* element);
  void rowsOfPlace(DadPlan& plan, const Place& place);
  void runStep(DadPlan& plan, DadStep& step, const Place& place);
  void rowsOfChildren(DadStep& step, const Place& place);

  void takeAttribute(const DadPlan& plan, const DadStep& step, const Place& place);
  void takeText(const DadPlan& plan, const DadStep& step, const Place& place);
  void takeElement(const DadPlan& plan, const Place& place);
  std::string elementText(int column, const Place& place) const;
  void requireColumn(int column, const std::string& xmlName, const DadPlan& plan,
                     const Place& place) const;

  void storeText(int column, const XMLCh* text, const Place& place);
  void store(int column, Value value, const Place& place);
  Value* newRow(const Place& place);
  bool isPrevRowKeyEqual(Value* previous) const;
  void noteOrigin(int column, const Value& value, const Place& place);
  const Element* occurrenceAround(const Lineage& at);

  void noteJoinAttribute(const Lineage& at, const DadStep& step, const XMLCh* value);
  Element* topElementAbove(const Lineage& at);
  bool isTopElement(const Lineage& at) {
    return (walk_.names.of(at.node).topElementOf & tableBit(tableIndex_)) != 0;
  }
  Failure withoutAncestor(const Lineage& at);

  WalkState& walk_;
  tab& table_;
  int tableIndex_;
  RowList rows_;
  ForeignKeyValues keys_;
  std::vector<Child> children_;              // of the elements on the way down, one after the other
  std::string converted_;                    // the value being placed
  std::u16string joinedText_;                // text of an element with several text nodes
  const Element* lastSource_ = nullptr;      // whose occurrence was looked for last
  const Element* lastOccurrence_ = nullptr;  // and what it was
};

}  // namespace orvxml
