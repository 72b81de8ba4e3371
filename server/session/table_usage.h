// Which tables a resolved statement reads and writes: what decides whether an open cursor must be
// read ahead before a change, and what the unit of work has to take hold of before the statement
// runs. Names are the engine's stored names.
#pragma once

#include <string>
#include <vector>

#include "server/engine/engine.h"
#include "server/resolve/catalog.h"
#include "server/syntax/ast.h"

namespace orv {

struct TableUsage {
  // Tables whose change disturbs a walk over this statement's result: those that it reads and the
  // parents whose deletion reaches them. Sorted.
  std::vector<std::string> disturbedBy;
  bool readsView = false;   // then any change may disturb it
  std::string writes;       // empty for queries
  bool writesMore = false;  // through a view or AFTER triggers: it may disturb every result
  Access access = Access::None;

  bool conflictsWith(const TableUsage& change) const;
};

TableUsage tableUsage(const Statement& statement, const Catalog& catalog);

}  // namespace orv
