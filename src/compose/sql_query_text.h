// The texts of the queries that SQL mapping runs over the statement of a DAD:
//
//   top query    SELECT level-0 FROM (base) qrk_tab_exp ORDER BY key
//   inner query  SELECT * FROM (base) qrk_tab_exp WHERE parent-key=?
//   child query  SELECT keys-above, level-C FROM (inner) qrk_tab_exp ORDER BY key
//
// The inner query is the base query of the levels below it, so that a row is restricted by the keys
// of every level above. Key: the first column of a level. A restriction needs a key that can be
// written without quotation marks (QRKQ033E), and no text exceeds kStatementLimit (QRKQ038E): then
// the result is -1, else 0.
#pragma once

#include <string>
#include <vector>

#include "src/compose/level_map.h"

namespace orvxml {

// The columns of a level. 0, or -1 with QRKG001E for a level that the map does not have or that has
// no column.
int readLevel(const Report& report, const level_map* levelMap, int level,
              std::vector<std::string>& columns);

int topQuery(const Report& report, const std::vector<std::string>& columns, const std::string& base,
             std::string& text);
int innerQuery(const Report& report, const std::string& base, const std::string& parentKey,
               std::string& text);
// `keysAbove`: the keys of the levels above, from the top.
int childQuery(const Report& report, const std::vector<std::string>& keysAbove,
               const std::vector<std::string>& columns, const std::string& inner,
               std::string& text);

}  // namespace orvxml
