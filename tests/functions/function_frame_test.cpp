// The functions' side of the calling convention, called by hand: what one use keeps from call to
// call, and what it says where something goes wrong.
#include <climits>
#include <cstring>

#include "tests/functions/raw_calls.h"
#include "tests/support/environment.h"

namespace orvxml::test {
namespace {

TEST(FunctionFrameTest, AUseEndsWithItsFinalCallOrAFailure) {
  RawCall call;
  EXPECT_FALSE(call.holdsUse());
  EXPECT_EQ(call.extractInteger("<a>1</a>", "/a", orv::kUdfFirstCall), "1");
  EXPECT_TRUE(call.holdsUse());
  EXPECT_EQ(call.extractInteger("<a>2</a>", "/a", orv::kUdfNormalCall), "2");
  EXPECT_EQ(call.extractInteger("<a>x</a>", "/a", orv::kUdfNormalCall),
            "38X29 QRKQ061E  The format of the string is invalid. 'x'");
  EXPECT_FALSE(call.holdsUse());
  EXPECT_EQ(call.extractInteger("<a>3</a>", "/a", orv::kUdfNormalCall), "3");
  // The arguments of a final call are not there to be read.
  EXPECT_EQ(call.extractInteger(nullptr, nullptr, orv::kUdfFinalCall), "untouched");
  EXPECT_FALSE(call.holdsUse());
}

TEST(FunctionFrameTest, ATableHandsOutItsRowsOncePerOpening) {
  RawCall call;
  const auto texts = [&](const char* document) {
    std::vector<std::string> all;
    EXPECT_EQ(call.extractIntegers(document, orv::kUdfTableOpen), "untouched");
    std::string row;
    while ((row = call.extractIntegers(nullptr, orv::kUdfTableFetch)) != "02000 ") {
      all.push_back(row);
      if (all.size() > 9) break;
    }
    return all;
  };
  EXPECT_EQ(call.extractIntegers(nullptr, orv::kUdfTableFirst), "untouched");
  EXPECT_EQ(texts("<a><b>1</b><b/><b>3</b></a>"), (std::vector<std::string>{"1", "null", "3"}));
  EXPECT_EQ(call.extractIntegers(nullptr, orv::kUdfTableClose), "untouched");
  EXPECT_EQ(call.extractIntegers(nullptr, orv::kUdfTableFetch), "02000 ");
  // Opened again, and ended in the middle.
  EXPECT_EQ(call.extractIntegers("<a><b>1</b><b>2</b></a>", orv::kUdfTableOpen), "untouched");
  EXPECT_EQ(call.extractIntegers(nullptr, orv::kUdfTableFetch), "1");
  EXPECT_EQ(call.extractIntegers(nullptr, orv::kUdfTableFinal), "untouched");
  EXPECT_FALSE(call.holdsUse());
}

TEST(FunctionFrameTest, WithoutAContextThereIsAMessage) {
  RawCall call;
  call.database.codepage = 99999;
  EXPECT_EQ(call.extractInteger("<a>1</a>", "/a", orv::kUdfFirstCall),
            "38X38 QRKG008E  Locale UTF-8 is not supported.");
  call.database.codepage = 1208;
  call.pad.length = 4;
  EXPECT_EQ(call.extractInteger("<a>1</a>", "/a", orv::kUdfFirstCall),
            "38X10 QRKG002E  The system is out of memory.");
}

TEST(FunctionFrameTest, NumbersEndWhereTheirTypeEnds) {
  RawCall call;
  const int32_t last = INT32_MAX - 1;
  std::memcpy(call.pad.data, &last, sizeof last);
  EXPECT_EQ(call.seqno(), "2147483647");
  EXPECT_EQ(call.seqno().substr(0, 15), "38X39 QRKC013E ");
}

}  // namespace
}  // namespace orvxml::test
