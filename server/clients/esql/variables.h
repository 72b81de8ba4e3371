// Host variables and descriptor areas as the runtime sees them, checked: one ValueArea with its
// null indicator each.
#pragma once

#include <vector>

#include "orv/esql.h"
#include "server/clients/hostvars/host_area.h"
#include "server/session/prepared_statement.h"

namespace orv::esql {

struct BoundVariable {
  ValueArea area;
  int16_t* indicator;
};
using BoundVariables = std::vector<BoundVariable>;

// -804 for a variable without data, of an unknown type or a malformed descriptor area.
BoundVariables fromVariables(Variables variables);
BoundVariables fromDescriptor(const sqlda* descriptor);

bool isNullValue(const BoundVariable& variable);

// Binds the input variables to all markers of a started statement; -313 when they are not as many.
// `storage` keeps what the values rest on until the statement has run.
void bindInput(PreparedStatement& statement, const BoundVariables& input, SessionState& session,
               std::vector<HostStorage>& storage);

// Puts the current row into the variables. Notes in `area` what was cut (SQLSTATE 01004) and that
// there are fewer variables than columns. -804 for more variables than columns, -305 for a null
// value without an indicator.
void storeRow(PreparedStatement& statement, const BoundVariables& output, SessionState& session,
              sqlca& area);

// One value into one variable, with its indicator. True when it was cut.
bool storeValue(const BoundVariable& variable, int number, const ValueView& value,
                const SqlType& type, SessionState& session);

// Describes result columns: names, types, lengths. When the entries of the descriptor do not
// suffice only `sqld` is set, and the result is the warning: 236, or, when secondary entries are
// needed, 237 (distinct types), 238 (large objects), 239 (both); 0 when all is described.
int describeColumns(const std::vector<OutputColumn>& columns, sqlda* descriptor);

// Notes in the area that a value was cut.
void noteCut(sqlca& area);

}  // namespace orv::esql
