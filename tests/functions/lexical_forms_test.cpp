// What a text in a document may look like to be a number, a date or a time.
#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

constexpr char kMalformed[] = "38X29 QRKQ061E  The format of the string is invalid.";
constexpr char kTooLarge[] =
    "38X39 QRKC013E  The results of the extract UDF exceed the size limit for th";

using Texts = std::vector<std::string>;

class LexicalFormsTest : public testing::Test {
 protected:
  // The call that extracts the text as `type`.
  std::string extraction(const std::string& type, const std::string& text) {
    db_.store("<a>" + text + "</a>");
    return "orvxml.extract" + type + "(v, '/a')";
  }
  // Pairs of a text and its value.
  void expectValues(const std::string& type,
                    const std::vector<std::pair<Texts, std::string>>& all) {
    for (const auto& [texts, value] : all) {
      for (const std::string& text : texts) {
        EXPECT_EQ(db_.value(extraction(type, text)), value) << type << " '" << text << "'";
      }
    }
  }
  void expectFailures(const std::string& type, const char* failure, const Texts& texts) {
    for (const std::string& text : texts) {
      const std::string found = db_.failure(extraction(type, text));
      EXPECT_TRUE(found.starts_with(failure)) << type << " '" << text << "': " << found;
    }
  }

  FunctionDatabase db_;
};

TEST_F(LexicalFormsTest, WholeNumbers) {
  expectValues("Integer",
               {{{"42", "+42", " \t\r\n 42 \n", "42.0", "+42.", "00000000000000000042"}, "42"},
                {{"0", "-0", ".00"}, "0"},
                {{"2147483647"}, "2147483647"},
                {{"-2147483648"}, "-2147483648"}});
  expectValues("Smallint", {{{"-32768"}, "-32768"}, {{"32767.000"}, "32767"}});
  expectFailures("Integer", kTooLarge, {"2147483648", "-2147483649", std::string(30, '9')});
  expectFailures("Smallint", kTooLarge, {"32768"});
  // The last one is a digit of another script.
  expectFailures(
      "Integer", kMalformed,
      {"5.5", "5.01", ".", "+", "--1", "+-1", "1 2", "1,000", "0x10", "1e3", "true", "\xD9\xA3"});
}

TEST_F(LexicalFormsTest, FloatingNumbers) {
  expectValues("Double", {{{"1.5", "+1.50", "15e-1", ".15E+1"}, "1.5E0"},
                          {{" 5. ", "5"}, "5.0E0"},
                          {{"-1e308"}, "-1.0E308"},
                          {{"4.9e-324"}, "5.0E-324"}});
  expectValues("Real", {{{"0.25"}, "2.5E-1"}, {{"3.4e38"}, "3.4E38"}});
  expectFailures("Double", kTooLarge, {"1e309", "1e-400"});
  expectFailures("Real", kTooLarge, {"3.5e38"});
  expectFailures(
      "Double", kMalformed,
      {"INF", "-INF", "NaN", "infinity", "1e", "1e+", "1.2.3", "1,5", "0x1p3", "1.5 EUR"});
}

TEST_F(LexicalFormsTest, DatesAndTimes) {
  expectValues("Date", {{{"2026-11-24", "\n 2026-11-24Z ", "2026-11-24+01:00", "2026-11-24-14:00",
                          "2026-11-24T20:16:07.5+01:00", "11/24/2026", "24.11.2026"},
                         "2026-11-24"},
                        {{"2026-1-4"}, "2026-01-04"},
                        {{"2024-02-29"}, "2024-02-29"}});
  expectFailures("Date", kMalformed,
                 {"2026-02-29", "1900-02-29", "2026-13-01", "2026-11-31", "0000-01-01",
                  "-2026-11-24", "12026-11-24", "2026-11-24+15:00", "2026-11-24+14:01", "2026-11",
                  "20261124", "2026-11-24x"});
  expectValues("Time", {{{"20:16:07", "20:16:07.999999999", "20:16:07Z", "20:16:07.25-05:30",
                          "20.16.07", "2026-11-24T20:16:07Z"},
                         "20.16.07"},
                        {{"20:16", "8:16 PM"}, "20.16.00"},
                        {{"12:00 am"}, "00.00.00"},
                        {{"8 PM"}, "20.00.00"},
                        {{"24:00:00"}, "24.00.00"}});
  expectFailures("Time", kMalformed,
                 {"24:00:01", "20:60:00", "20:16:60", "13:00 PM", "20", "20:16:", "20:16:07."});
  const std::string day = "2026-11-24-";
  // A zone, not a time, is what the last one of midnight ends with.
  expectValues("Timestamp",
               {{{"2026-11-24T20:16:07", "2026-11-24 20:16:07"}, day + "20.16.07.000000"},
                {{"2026-11-24T20:16:07.123456789Z"}, day + "20.16.07.123456"},
                {{"2026-11-24T20:16:07.5-05:00"}, day + "20.16.07.500000"},
                {{"2026-11-24-20.16.07.000001"}, day + "20.16.07.000001"},
                {{"2026-11-24T24:00:00"}, day + "24.00.00.000000"},
                {{"2026-11-24", "2026-11-24-05:00"}, day + "00.00.00.000000"}});
  expectFailures("Timestamp", kMalformed,
                 {"2026-11-24T", "2026-11-24T20", "2026-11-24T25:00:00", "20:16:07", "now"});
}

TEST_F(LexicalFormsTest, AnEmptyTextIsNoValue) {
  for (const char* type : {"Integer", "Smallint", "Double", "Real", "Date", "Time", "Timestamp"}) {
    expectValues(type, {{{"", " \n "}, "NULL"}});
    EXPECT_EQ(db_.values(std::string("orvxml.extract") + type + "s(v, '/a')"), Texts{"NULL"});
  }
}

TEST_F(LexicalFormsTest, AFailureShowsTheValueInItsRoom) {
  const std::string message = kMalformed;
  expectFailures("Integer", (message + " 'twelve'").c_str(), {" twelve "});
  expectFailures("Integer", (message + " 'twelve and some more '").c_str(),
                 {"twelve and some more than that"});
  expectFailures("Integer", (message + " '1?2 ?\?'").c_str(), {"1\n2 \xC3\xA4"});
}

}  // namespace
}  // namespace orvxml::test
