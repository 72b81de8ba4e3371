// The call itself: code found, parameters laid out, the session made current, the outcome judged.
#include "server/routines/call_procedure.h"

#include "server/routines/active_call.h"
#include "server/routines/parameter_area.h"
#include "server/routines/routine_library.h"
#include "server/session/communication_area.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr int kReturned = 1;  // what a procedure of style ORVDARI gives back

// The two reserved arguments are null; procedures that report through a communication area find it
// as a fourth argument.
using DescriptorProcedure = int (*)(void*, void*, sqlda*, sqlca*);

std::string qualifiedName(const Procedure& procedure) {
  return procedure.schema + "." + procedure.name;
}

int invoke(DescriptorProcedure entry, sqlda* parameters, sqlca* area, const Procedure& procedure) {
  try {
    return entry(nullptr, nullptr, parameters, area);
  } catch (...) {
    throw SqlError(-430, {qualifiedName(procedure), procedure.specific});
  }
}

}  // namespace

std::vector<OwnedValue> callProcedure(SessionState& session, const Procedure& procedure,
                                      const std::vector<ValueView>& inputs) {
  if (procedure.parameterStyle != "ORVDARI") {
    throw SqlError(-451, {qualifiedName(procedure), procedure.parameterStyle});
  }
  void* const address =
      findRoutineEntry(procedure.library, procedure.entry, qualifiedName(procedure));
  ParameterArea parameters(session, procedure, inputs);
  sqlca area;
  resetArea(area);
  {
    const ActiveCall call(session, "PROCEDURE");
    const StatementWarning ownWarnings(session);  // the procedure's statements keep theirs
    const int returned = invoke(reinterpret_cast<DescriptorProcedure>(address),
                                parameters.descriptor(), &area, procedure);
    if (area.sqlcode < 0) throw errorFrom(area);
    if (returned != kReturned) {
      throw SqlError(-430, {qualifiedName(procedure), procedure.specific});
    }
  }
  return parameters.outputs();
}

}  // namespace orv
