// The descriptor area that a procedure of parameter style ORVDARI receives: one entry per
// parameter, secondary entries when one is a large object, every value in memory of its declared
// size between guard bytes. After the call the outputs are read through this object's own record of
// the layout, never through what the procedure may have made of the area, and only when the guards
// are whole.
//
// An output is null until the procedure sets its indicator to 0.
//
// Large objects: `sqldata` is the bytes, the length stands where the secondary entry's
// `sqldatalen` points.
#pragma once

#include <cstdlib>
#include <memory>
#include <vector>

#include "orv/sqlda.h"
#include "server/session/value_area.h"
#include "server/values/owned_value.h"

namespace orv {

class ParameterArea {
 public:
  // Lays out the parameters and stores the inputs; -302 / -433 for one that is too long.
  ParameterArea(SessionState& session, const Procedure& procedure,
                const std::vector<ValueView>& inputs);

  sqlda* descriptor() { return reinterpret_cast<sqlda*>(descriptor_.get()); }

  // One value per parameter, null for IN. -450 with the parameter when the procedure wrote beyond
  // its memory or left a length or an indicator that cannot be.
  std::vector<OwnedValue> outputs();

 private:
  struct Parameter {
    const ParameterDefinition* definition;
    ValueArea area;
    int64_t offset;  // of its value in `memory_`
    int64_t size;    // bytes of its value
    int16_t indicator = 0;
    int32_t lobLength = 0;
  };

  void layOut(const std::vector<ValueView>& inputs);
  void storeInput(Parameter& parameter, const ValueView& value);
  void describe();
  void describeSecondary(int index);
  void checkGuards() const;
  OwnedValue output(const Parameter& parameter);
  [[noreturn]] void refuse(const Parameter& parameter) const;

  SessionState& session_;
  const Procedure& procedure_;
  std::vector<Parameter> parameters_;
  std::vector<ValueView> converted_;
  std::vector<std::string> storage_;
  struct Free {
    void operator()(char* memory) const { std::free(memory); }
  };
  std::unique_ptr<char, Free> memory_;  // from calloc: large outputs cost only what is written
  std::unique_ptr<std::max_align_t[]> descriptor_;
};

}  // namespace orv
