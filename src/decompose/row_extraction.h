// Turns a parsed document into rows of the mapped tables and inserts them, parents first.
#pragma once

#include "src/dad/mapping_model.h"

namespace orvxml {

inline constexpr int QRK_MAX_ROWS = 10240;  // rows of one table at one DAD element

// Inserts the rows of one DAD element_node for all elements of `xml_container`, then those of the
// DAD elements below it. 0, or the code of the message.
int decompose_element(QrkStruct* ctx, rel* relinfo, DOM_Document& doc, tab* parent_tab,
                      QRK_NodeList* xml_container, DOM_Element* dad_element, char* msg);
// The first table in mapping order whose top element is `name`, or null.
tab* getTabofTopElement(rel* relinfo, const char* name);

}  // namespace orvxml
