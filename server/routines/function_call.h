// One use of a function: the memory that its calls share (arguments, results, SQLSTATE, message,
// scratchpad) and the vector of pointers to it, laid out once. A call copies the values in, makes
// the call and judges what came back: a failure of the function, and whatever it must not do, is an
// SqlError; a warning is the session's for its statement.
#pragma once

#include <ffi.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "orv/sqludf.h"
#include "server/resolve/catalog.h"
#include "server/routines/function_fields.h"

namespace orv {

class FunctionCall {
 public:
  // -444 when the code is not found.
  FunctionCall(SessionState& session, const Function& function);
  FunctionCall(const FunctionCall&) = delete;
  FunctionCall& operator=(const FunctionCall&) = delete;

  // What the arguments rest on stays where it is until withdrawArguments().
  void storeArguments(std::span<const ValueView> values);
  void withdrawArguments();

  // False when the function said that there are no more rows, which only a fetch call may. Throws
  // -443 (its own SQLSTATE) when the function failed, -463 for an SQLSTATE that it may not give,
  // -450 when it wrote beyond a field or left one malformed, -430 when it threw an exception.
  bool invoke(int32_t callType);
  // False once a call ended abnormally: then no other one is made.
  bool isUsable() const { return usable_; }

  // Reads the results of the call: -450 for a malformed one, else as value conversion fails.
  void loadResults();
  const ValueView& result(size_t index) const { return values_.at(index); }

  void clearScratchpad();

  const Function& function() const { return function_; }
  // Whether it is worth keeping: large objects have memory of their own.
  bool isSmall() const;

 private:
  void makeFields(const Function& function);
  void layOut();
  void fillDatabase();
  void addParameters(const Function& function);
  void prepare(int32_t callType);
  void run();
  void checkMemory() const;
  bool judge() const;
  std::string diagnosticText() const;
  [[noreturn]] void refuse(std::string_view parameter) const;

  SessionState& session_;
  const Function function_;
  const bool isTable_;
  const std::string name_;  // SCHEMA.NAME
  const std::string specific_;
  std::string nativeName_;  // as the function reads them
  std::string nativeSpecific_;
  std::vector<std::string> resultNames_;
  std::vector<ArgumentField> arguments_;
  std::vector<ResultField> results_;
  std::vector<ValueView> values_;

  void (*entry_)();
  bool usable_ = true;
  std::unique_ptr<char[]> memory_;
  sqludf_scratchpad* scratchpad_ = nullptr;
  uint32_t scratchpadSize_;
  char* state_ = nullptr;
  char* message_ = nullptr;
  int32_t callType_ = 0;
  std::unique_ptr<sqludf_dbinfo> database_;

  ffi_cif interface_;
  std::vector<ffi_type*> types_;
  std::vector<void*> pointers_;   // what the function receives
  std::vector<void*> addresses_;  // where each of them stands
};

}  // namespace orv
