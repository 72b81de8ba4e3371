// Traps of a mapping: what it may say, and what then makes rows or documents other than its writer
// means. Each is told to this thread's listener as a warning with a rule's name and the number of
// an element of the mapping; without a listener nothing is looked for.
#pragma once

#include "src/dad/mapping_survey.h"

namespace orvxml {

// Tells all traps of a mapping, each once.
void tellTraps(const MappingSurvey& survey);

// The first table, in the order of the top RDB_node, whose rows stand inside those of other tables
// while no condition joins it to one of them: it would be read whole for each of their rows. Null
// when there is none.
const tab* unjoinedTable(const MappingSurvey& survey);

}  // namespace orvxml
