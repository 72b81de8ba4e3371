// Traps of a mapping: what it may say, and what then makes rows or documents other than its writer
// means. Each is told to this thread's listener as a warning with a rule's name and the number of
// an element of the mapping; without a listener nothing is looked for.
#pragma once

#include "orvxml/mapping_model.h"

namespace orvxml {

// Tells all traps of a mapping whose model is built for `purpose`; `root` is its top element_node.
// Each is told once.
void tellTraps(QrkStruct* ctx, const rel& model, const DOM_Element& root, MappingPurpose purpose);

// The first table, in the order of the top RDB_node, whose rows stand inside those of other tables
// while no condition joins it to one of them: it would be read whole for each of their rows. Null
// when there is none.
const tab* unjoinedTable(QrkStruct* ctx, const rel& model, const DOM_Element& root);

}  // namespace orvxml
