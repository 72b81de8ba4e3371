// Turns a parsed document into rows of the mapped tables and inserts them, parents first.
#pragma once

#include "src/dad/mapping_model.h"

namespace orvxml {

inline constexpr int QRK_MAX_ROWS = 10240;  // rows of one table at one DAD element

// Inserts the rows that `top`, the DAD's first element_node, takes from the document's root, then
// those of the DAD elements below it.
void decompose_element(QrkStruct* ctx, rel* relinfo, const DOM_Document& document,
                       const DOM_Element& top);
// The first table in mapping order whose top element is `name`, or null.
tab* getTabofTopElement(rel* relinfo, const char* name);

}  // namespace orvxml
