// The call itself: code found, parameters laid out, the session made current, the outcome judged.
#include "server/routines/call_statement.h"
#include "server/routines/parameter_area.h"
#include "server/routines/routine_library.h"
#include "server/session/communication_area.h"
#include "server/sql/sql_error.h"

namespace orv {
namespace {

constexpr int kReturned = 1;  // what a procedure of style ORVDARI gives back

// The two reserved arguments are null; procedures that report through a communication area find it
// as a fourth argument.
using DescriptorProcedure = int (*)(void*, void*, sqlda*, sqlca*);

std::string qualifiedName(const Procedure& procedure) {
  return procedure.schema + "." + procedure.name;
}

class ActiveCall {
 public:
  explicit ActiveCall(SessionState& session) : session_(session), scope_(session.slot()) {
    if (session.activeCalls >= kMaxDepth) throw SqlError(-724, {"PROCEDURE"});
    ++session_.activeCalls;
  }
  ~ActiveCall() { --session_.activeCalls; }
  ActiveCall(const ActiveCall&) = delete;
  ActiveCall& operator=(const ActiveCall&) = delete;

 private:
  static constexpr int kMaxDepth = 16;
  SessionState& session_;
  CurrentSessionScope scope_;
};

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
    const ActiveCall call(session);
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
