// The steps of the mapping model's building that follow the reading of its tables, in calling
// order. Each returns 0 or the status of its failure, which it has reported.
#pragma once

#include "src/dad/mapping_model.h"

namespace orvxml {

// The join condition of the top RDB_node (join_condition.cpp). `element`: where it stands.
int whereparser(const Report& report, rel& model, int purpose, const char16_t* condition,
                const xercesc::DOMNode* element);
// One side of one of its equalities.
int qrkSetJoinInfoForeign(const Report& report, rel& model, int purpose, tab& table,
                          const char* column, const char* forSchema, const char* forTable,
                          const char* forColumn);
// The foreign keys (foreign_keys.cpp). `condition`: the element that they come from, for failures.
int qrkProcRel2(const Report& report, rel& model, const xercesc::DOMNode* condition);
// The top element of each table (top_elements.cpp).
int qrkFindTopElements(const Report& report, rel& model, const DOM_Element& root, int purpose);
// The element_node that stands for a row of `table`, whose first mapped leaf `element` holds.
xercesc::DOMElement* rowElement(QrkStruct* ctx, const tab& table, const DocumentOwner& owner,
                                xercesc::DOMElement* element);

col2xml_entry* findColumnMapping(tab* table, const char* col);

}  // namespace orvxml
