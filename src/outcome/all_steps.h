// Steps of which none may be left out because another one failed: ends that must come after a
// failure too, and may fail themselves.
//
//   AllSteps().run([&] { compose(); }).run([&] { connection.close(); }).end();
#pragma once

#include <optional>

#include "src/outcome/failure.h"

namespace orvxml {

class AllSteps {
 public:
  template <class Step>
  AllSteps& run(Step&& step) {
    try {
      step();
    } catch (const Failure& failure) {
      failure_ = failure;
    }
    return *this;
  }
  // Throws the last failure, if there was one.
  void end() const {
    if (failure_) throw *failure_;
  }

 private:
  std::optional<Failure> failure_;
};

}  // namespace orvxml
