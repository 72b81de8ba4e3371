// Statements about one large object (its length, a piece of it, its value) whose input is a
// locator: answered from the locator's value itself, so that a document is read piece by piece
// without being copied through the engine each time, and a piece may end inside a character.
#pragma once

#include <optional>

#include "server/clients/esql/variables.h"

namespace orv::esql {

class LargeObjectAnswer {
 public:
  // The answer to the statement, or nothing when it is not of that kind or its input is no
  // locator. -423 for a freed locator, -138 for a piece outside the value, -303 for a locator of
  // another kind.
  static std::optional<LargeObjectAnswer> find(const Compilation& statement,
                                               const BoundVariables& input, SessionState& session);

  // Puts the answer into the only output variable. True when it was cut.
  bool store(const BoundVariables& output, SessionState& session) const;

 private:
  LocatorKind kind_ = LocatorKind::Clob;
  LocatorValue::Bytes bytes_;  // null for a null value
  bool lengthOnly_ = false;
  size_t start_ = 0;  // of the piece, from 0
  size_t count_ = 0;
};

}  // namespace orv::esql
