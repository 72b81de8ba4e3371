#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>

#include "src/call/procedure_frame.h"
#include "tests/support/call_context.h"

namespace orvxml {
namespace {

using unittest::CallContext;

// A descriptor with one parameter and its secondary entry.
struct Descriptor {
  Descriptor(int16_t type, int16_t length, std::string value, int16_t indicator = 0)
      : bytes(std::move(value)), null(indicator) {
    area = reinterpret_cast<sqlda*>(storage);
    area->sqln = 2;
    area->sqld = 1;
    area->sqlvar[0] = {type, length, bytes.data(), &null, {}};
  }
  void setSecondaryLength(int32_t* length) { orv::secondaryEntry(area, 0)->sqldatalen = length; }
  sqlvar* var() { return &area->sqlvar[0]; }

  std::string bytes;
  int16_t null;
  alignas(sqlda) char storage[sizeof(sqlda) + sizeof(sqlvar)] = {};
  sqlda* area;
};

std::string shortPrefix(int16_t length, const std::string& text) {
  std::string bytes(2, 0);
  std::memcpy(bytes.data(), &length, 2);
  return bytes + text;
}

std::string longPrefix(int32_t length, const std::string& text) {
  std::string bytes(4, 0);
  std::memcpy(bytes.data(), &length, 4);
  return bytes + text;
}

TEST(ProcedureParameterTest, StringsAreFoundByType) {
  struct Case {
    const char* label;
    int16_t type;
    int16_t declared;
    std::string bytes;
    int16_t indicator;
    int indexedCode;  // qrkGetStProcParam
    std::string indexed;
    int singleCode;  // qrkGetStProcParameter
    std::string single;
  };
  const Case cases[] = {
      {"varchar", 448, 10, shortPrefix(3, "abcdef"), 0, 0, "abc", 0, "abc"},
      {"nullable long varchar", 457, 10, shortPrefix(2, "ab"), 0, 0, "ab", 0, "ab"},
      {"char takes its declared length", 452, 4, "ab  ef", 0, 0, "ab  ", 0, "ab  "},
      {"terminated string", 460, 6, std::string("abc\0\0\0", 6), 0, 0, std::string("abc\0\0\0", 6),
       0, "abc"},
      {"a string without a terminator ends with its field", 461, 3, "abcdef", 0, 0, "abc", 0,
       "abc"},
      {"clob", 408, 0, longPrefix(4, "wxyz"), 0, 0, "wxyz", 0, "wxyz"},
      {"dbclob is for the descriptor form only", 412, 0, longPrefix(2, "wx"), 0, 0, "wx", -107, ""},
      {"null value", 449, 10, shortPrefix(3, "abc"), -1, -14, "", -14, ""},
      {"integer is no string", 496, 4, "1234", 0, -107, "", -107, ""},
      {"negative length", 408, 0, longPrefix(-5, "wxyz"), 0, -60, "", -60, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    CallContext call;
    Descriptor parameter(c.type, c.declared, c.bytes, c.indicator);
    char* data = nullptr;
    int length = 0;
    int rc = qrkGetStProcParam(&call.ctx, parameter.area, 0, &data, &length, &call.code, call.msg);
    EXPECT_EQ(rc, c.indexedCode == 0 ? 0 : -1);
    EXPECT_EQ(call.code, c.indexedCode);
    if (rc == 0) {
      EXPECT_EQ(std::string(data, static_cast<size_t>(length)), c.indexed);
    }

    call.code = 0;
    rc = qrkGetStProcParameter(&call.ctx, parameter.var(), &data, &length, &call.code, call.msg);
    EXPECT_EQ(call.code, c.singleCode);
    if (rc == 0) {
      EXPECT_EQ(std::string(data, static_cast<size_t>(length)), c.single);
    }
  }
}

TEST(ProcedureParameterTest, TheSecondaryEntryHasTheLengthOfALargeObject) {
  CallContext call;
  Descriptor parameter(409, 0, "abcdef");
  int32_t actual = 5;
  parameter.setSecondaryLength(&actual);
  char* data = nullptr;
  int length = 0;
  ASSERT_EQ(qrkGetStProcParam(&call.ctx, parameter.area, 0, &data, &length, &call.code, call.msg),
            0);
  EXPECT_EQ(std::string(data, static_cast<size_t>(length)), "abcde");
  EXPECT_EQ(qrkGetStProcParam(&call.ctx, parameter.area, 1, &data, &length, &call.code, call.msg),
            -1);
  EXPECT_STREQ(call.msg, "QRKA019E  A input parameter required to enable the column is null.\n");
}

TEST(ProcedureParameterTest, IntegersAreCheckedByType) {
  CallContext call;
  Descriptor integer(497, 4, "1234", -1);
  EXPECT_EQ(qrkCheckIntParameter(&call.ctx, integer.var(), &call.code, call.msg), -1);
  EXPECT_EQ(call.code, -14);
  EXPECT_EQ(qrkCheckOutputIntParameter(&call.ctx, integer.var(), &call.code, call.msg), 0);
  Descriptor text(448, 4, shortPrefix(1, "1"));
  EXPECT_EQ(qrkCheckIntParameter(&call.ctx, text.var(), &call.code, call.msg), -1);
  EXPECT_EQ(call.code, -108);
  // A code that has no room is a failure still.
  Descriptor small(500, 2, shortPrefix(7, "##"));
  storeInteger(*small.var(), INT32_MIN);
  EXPECT_EQ(small.bytes, shortPrefix(INT16_MIN, "##"));
}

TEST(ProcedureParameterTest, TheMessageIsCutToItsParameter) {
  struct Case {
    int16_t type;
    int16_t declared;
    const char* message;
    std::string expected;
  };
  const Case cases[] = {
      {449, 20, "whole", shortPrefix(5, "whole")}, {449, 4, "whole", shortPrefix(4, "whol")},
      {449, 4, "ab€", shortPrefix(2, "ab")},       {461, 6, "whole", std::string("whole\0", 6)},
      {461, 5, "whole", std::string("whol\0", 5)}, {461, 0, "whole", "####"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    CallContext call;
    Descriptor parameter(c.type, c.declared, std::string(40, '#'), -1);
    qrkSetOutputMessage(&call.ctx, parameter.var(), c.message);
    EXPECT_EQ(parameter.bytes.substr(0, c.expected.size()), c.expected);
    EXPECT_EQ(parameter.bytes[c.expected.size()], '#');
    if (c.declared > 0) {
      EXPECT_EQ(parameter.null, 0);
    }
  }
}

}  // namespace
}  // namespace orvxml
