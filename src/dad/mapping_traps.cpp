#include "src/dad/mapping_traps.h"

namespace orvxml {

void tellTraps(QrkStruct*, const rel&, const DOM_Element&, MappingPurpose) {}

const tab* unjoinedTable(QrkStruct*, const rel&, const DOM_Element&) {
  return nullptr;
}

}  // namespace orvxml
