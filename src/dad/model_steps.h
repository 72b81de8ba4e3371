// The steps of the mapping model's building that follow the reading of its tables, in calling
// order. Each throws its failure.
#pragma once

#include <cstdlib>
#include <new>

#include "src/dad/mapping_model.h"

namespace orvxml {

// The model that is being built.
struct Building {
  QrkStruct* ctx;
  rel& model;
  MappingPurpose purpose;

  tab* tableOf(const join_partner& partner) const {
    return findTabByName(ctx, &model, partner.schema, partner.tab);
  }
};

// What the model points at is the C library's.
template <class T>
T* allocate(size_t count) {
  void* const memory = std::calloc(count, sizeof(T));
  if (!memory) throw std::bad_alloc();
  return static_cast<T*>(memory);
}

// The join condition of the top RDB_node (join_condition.cpp). `element`: where it stands.
void whereparser(const Building& building, const char16_t* condition,
                 const xercesc::DOMNode* element);
// One side of one of its equalities.
void qrkSetJoinInfoForeign(const Building& building, tab& table, const char* column,
                           const join_partner& partner);
// The foreign keys (foreign_keys.cpp). `condition`: the element that they come from, for failures.
void qrkProcRel2(const Building& building, const xercesc::DOMNode* condition);
// The top element of each table (top_elements.cpp).
void qrkFindTopElements(const Building& building, const DOM_Element& root);
// The element_node that stands for a row of `table`, whose first mapped leaf `element` holds.
xercesc::DOMElement* rowElement(QrkStruct* ctx, const tab& table, const DocumentOwner& owner,
                                xercesc::DOMElement* element);

col2xml_entry* findColumnMapping(tab* table, const char* col);

}  // namespace orvxml
