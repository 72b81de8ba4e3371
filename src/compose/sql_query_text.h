// The texts of the queries that SQL mapping runs over the statement of a DAD:
//
//   top query    SELECT level-0 FROM (base) qrk_tab_exp ORDER BY key
//   inner query  SELECT * FROM (base) qrk_tab_exp WHERE parent-key=?
//   child query  SELECT keys-above, level-C FROM (inner) qrk_tab_exp ORDER BY key
//
// The inner query is the base query of the levels below it, so that a row is restricted by the keys
// of every level above. Key: the first column of a level. A restriction needs a key that can be
// written without quotation marks (QRKQ033E), and no text exceeds kStatementLimit (QRKQ038E).
#pragma once

#include <string>
#include <vector>

#include "src/compose/level_map.h"

namespace orvxml {

// The columns of a level; QRKG001E for a level that the map does not have or that has no column.
std::vector<std::string> readLevel(QrkStruct* ctx, const level_map& levelMap, int level);

std::string topQuery(const std::vector<std::string>& columns, const std::string& base);
std::string innerQuery(QrkStruct* ctx, const std::string& base, const std::string& parentKey);
// `keysAbove`: the keys of the levels above, from the top.
std::string childQuery(const std::vector<std::string>& keysAbove,
                       const std::vector<std::string>& columns, const std::string& inner);

}  // namespace orvxml
