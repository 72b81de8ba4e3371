// Functions of the library called by hand, with arguments as the server lays them out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "orv/sqludf.h"
#include "tests/support/environment.h"

extern "C" {
void qrkExtractIntegerFromVarchar(const char*, const char*, int32_t*, const int16_t*,
                                  const int16_t*, int16_t*, char*, const char*, const char*, char*,
                                  sqludf_scratchpad*, const int32_t*, sqludf_dbinfo*);
void qrkExtractIntegersFromVarchar(const char*, const char*, int32_t*, const int16_t*,
                                   const int16_t*, int16_t*, char*, const char*, const char*, char*,
                                   sqludf_scratchpad*, const int32_t*, sqludf_dbinfo*);
void qrkUpdateXMLFile(const char*, const char*, const char*, char*, const int16_t*, const int16_t*,
                      const int16_t*, int16_t*, char*, const char*, const char*, char*,
                      sqludf_scratchpad*, const int32_t*, sqludf_dbinfo*);
void qrkValidateVarchar(const char*, const char*, const char*, int32_t*, const int16_t*,
                        const int16_t*, const int16_t*, int16_t*, char*, const char*, const char*,
                        char*, sqludf_scratchpad*, const int32_t*, sqludf_dbinfo*);
void qrkSeqno(int32_t*, int16_t*, char*, const char*, const char*, char*, sqludf_scratchpad*,
              sqludf_dbinfo*);
}

namespace orvxml::test {

// One use of a function.
class RawCall {
 public:
  RawCall() { database.codepage = 1208; }

  // The result ("null", "untouched" when it was not set), or SQLSTATE and message.
  std::string extractInteger(const char* document, const char* path, int32_t type) {
    return run([&] {
      qrkExtractIntegerFromVarchar(document, path, &result_, indicator(document), indicator(path),
                                   &null_, state_, "S.F", "F", message_, &pad, &type, &database);
    });
  }
  std::string extractIntegers(const char* document, int32_t type) {
    return run([&] {
      qrkExtractIntegersFromVarchar(document, "//b", &result_, indicator(document), &kThere, &null_,
                                    state_, "S.F", "F", message_, &pad, &type, &database);
    });
  }
  std::string updateFile(const char* file, const char* path, const char* value, int32_t type) {
    char name[513];
    return run([&] {
      qrkUpdateXMLFile(file, path, value, name, &kThere, &kThere, &kThere, &null_, state_, "S.F",
                       "F", message_, &pad, &type, &database);
    });
  }
  std::string validate(const char* document, const char* dtd, int32_t type) {
    return run([&] {
      qrkValidateVarchar(document, dtd, "a", &result_, &kThere, &kThere, &kThere, &null_, state_,
                         "S.F", "F", message_, &pad, &type, &database);
    });
  }
  std::string seqno() {
    return run([&] { qrkSeqno(&result_, &null_, state_, "S.F", "F", message_, &pad, &database); });
  }
  bool holdsUse() const {
    return std::any_of(pad.data, pad.data + sizeof pad.data, [](char c) { return c != 0; });
  }

  sqludf_scratchpad pad{sizeof pad.data, {}};
  sqludf_dbinfo database{};

 private:
  static constexpr int16_t kThere = 0;
  static constexpr int16_t kUntouched = 99;
  static const int16_t* indicator(const char* argument) { return argument ? &kThere : nullptr; }

  template <class Call>
  std::string run(Call call) {
    null_ = kUntouched;
    std::memcpy(state_, "00000", sizeof state_);
    std::memset(message_, 'm', sizeof message_);
    message_[0] = 0;
    call();
    const std::string state = state_;
    if (state != "00000") return state + ' ' + message_;
    EXPECT_STREQ(message_, "");
    return null_ == kUntouched ? "untouched" : null_ < 0 ? "null" : std::to_string(result_);
  }

  const Variable instance_{"ORVINSTANCE", instanceName().c_str()};
  int32_t result_ = 0;
  int16_t null_ = 0;
  char state_[6] = "";
  char message_[orv::kUdfMessageField] = "";
};

}  // namespace orvxml::test
