// What a text in a document may look like to be a number, a date or a time.
#include <cstdlib>

#include "tests/functions/function_database.h"

namespace orvxml::test {
namespace {

constexpr char kMalformed[] = "38X29 QRKQ061E  The format of the string is invalid.";
constexpr char kTooLarge[] =
    "38X39 QRKC013E  The results of the extract UDF exceed the size limit for th";

struct Form {
  const char* type;
  const char* text;
  std::string expected;  // "malformed", "too large", or the value
};

class LexicalFormsTest : public testing::Test {
 protected:
  void expectForms(const std::vector<Form>& forms) {
    for (const Form& form : forms) {
      SCOPED_TRACE(std::string(form.type) + " '" + form.text + "'");
      db_.store("<a>" + std::string(form.text) + "</a>");
      const std::string call = std::string("orvxml.extract") + form.type + "(v, '/a')";
      if (form.expected == "malformed") {
        EXPECT_TRUE(db_.failure(call).starts_with(kMalformed)) << db_.failure(call);
      } else if (form.expected == "too large") {
        EXPECT_EQ(db_.failure(call), kTooLarge);
      } else {
        EXPECT_EQ(db_.value(call), form.expected);
      }
    }
  }

  FunctionDatabase db_;
};

TEST_F(LexicalFormsTest, WholeNumbers) {
  expectForms({
      {"Integer", "42", "42"},
      {"Integer", "+1", "1"},
      {"Integer", " \t\r\n -7 \n", "-7"},
      {"Integer", "-0", "0"},
      {"Integer", "5.0", "5"},
      {"Integer", "+5.", "5"},
      {"Integer", ".00", "0"},
      {"Integer", "000000000000000000000012", "12"},
      {"Integer", "2147483647", "2147483647"},
      {"Integer", "-2147483648", "-2147483648"},
      {"Integer", "2147483648", "too large"},
      {"Integer", "99999999999999999999999999", "too large"},
      {"Integer", "5.5", "malformed"},
      {"Integer", "5.01", "malformed"},
      {"Integer", ".", "malformed"},
      {"Integer", "+", "malformed"},
      {"Integer", "--1", "malformed"},
      {"Integer", "+-1", "malformed"},
      {"Integer", "1 2", "malformed"},
      {"Integer", "1,000", "malformed"},
      {"Integer", "0x10", "malformed"},
      {"Integer", "1e3", "malformed"},
      {"Integer", "true", "malformed"},
      {"Integer", "\xD9\xA3", "malformed"},  // a digit of another script
      {"Smallint", "-32768", "-32768"},
      {"Smallint", "32767.000", "32767"},
      {"Smallint", "32768", "too large"},
  });
}

TEST_F(LexicalFormsTest, FloatingNumbers) {
  struct Case {
    const char* type;
    const char* text;
    double expected;
  };
  const Case cases[] = {
      {"Double", "1.5", 1.5},   {"Double", "-1E+2", -100},      {"Double", "+.5e-1", 0.05},
      {"Double", " 5. ", 5},    {"Double", "12", 12},           {"Double", "1e308", 1e308},
      {"Double", "-0", 0},      {"Double", "4.9e-324", 5e-324}, {"Real", "0.25", 0.25},
      {"Real", "-3.0E2", -300}, {"Real", "3.4e38", 3.4e38},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " '" + c.text + "'");
    db_.store("<a>" + std::string(c.text) + "</a>");
    const std::string value = db_.value(std::string("orvxml.extract") + c.type + "(v, '/a')");
    EXPECT_EQ(std::strtod(value.c_str(), nullptr), c.expected) << value;
  }
  expectForms({
      {"Double", "1e309", "too large"},
      {"Double", "1e-400", "too large"},
      {"Real", "3.5e38", "too large"},
      {"Double", "INF", "malformed"},
      {"Double", "-INF", "malformed"},
      {"Double", "NaN", "malformed"},
      {"Double", "infinity", "malformed"},
      {"Double", "1e", "malformed"},
      {"Double", "1e+", "malformed"},
      {"Double", "1.2.3", "malformed"},
      {"Double", "1,5", "malformed"},
      {"Double", "0x1p3", "malformed"},
      {"Double", "1.5 EUR", "malformed"},
  });
}

TEST_F(LexicalFormsTest, DatesAndTimes) {
  expectForms({
      {"Date", "2026-11-24", "2026-11-24"},
      {"Date", "\n 2026-11-24Z ", "2026-11-24"},
      {"Date", "2026-11-24+01:00", "2026-11-24"},
      {"Date", "2026-11-24-14:00", "2026-11-24"},
      {"Date", "2026-11-24T20:16:07.5+01:00", "2026-11-24"},
      {"Date", "11/24/2026", "2026-11-24"},
      {"Date", "24.11.2026", "2026-11-24"},
      {"Date", "2026-1-4", "2026-01-04"},
      {"Date", "2024-02-29", "2024-02-29"},
      {"Date", "2026-02-29", "malformed"},
      {"Date", "1900-02-29", "malformed"},
      {"Date", "2026-13-01", "malformed"},
      {"Date", "2026-11-31", "malformed"},
      {"Date", "0000-01-01", "malformed"},
      {"Date", "-2026-11-24", "malformed"},
      {"Date", "12026-11-24", "malformed"},
      {"Date", "2026-11-24+15:00", "malformed"},
      {"Date", "2026-11-24+14:01", "malformed"},
      {"Date", "2026-11", "malformed"},
      {"Date", "20261124", "malformed"},
      {"Date", "2026-11-24x", "malformed"},
      {"Time", "20:16:07", "20.16.07"},
      {"Time", "20:16:07.999999999", "20.16.07"},
      {"Time", "20:16:07Z", "20.16.07"},
      {"Time", "20:16:07.25-05:30", "20.16.07"},
      {"Time", "20.16.07", "20.16.07"},
      {"Time", "20:16", "20.16.00"},
      {"Time", "8:16 PM", "20.16.00"},
      {"Time", "12:00 am", "00.00.00"},
      {"Time", "8 PM", "20.00.00"},
      {"Time", "24:00:00", "24.00.00"},
      {"Time", "2026-11-24T20:16:07Z", "20.16.07"},
      {"Time", "24:00:01", "malformed"},
      {"Time", "20:60:00", "malformed"},
      {"Time", "20:16:60", "malformed"},
      {"Time", "13:00 PM", "malformed"},
      {"Time", "20", "malformed"},
      {"Time", "20:16:", "malformed"},
      {"Time", "20:16:07.", "malformed"},
      {"Timestamp", "2026-11-24T20:16:07", "2026-11-24-20.16.07.000000"},
      {"Timestamp", "2026-11-24T20:16:07.123456789Z", "2026-11-24-20.16.07.123456"},
      {"Timestamp", "2026-11-24T20:16:07.5-05:00", "2026-11-24-20.16.07.500000"},
      {"Timestamp", "2026-11-24T24:00:00", "2026-11-24-24.00.00.000000"},
      {"Timestamp", "2026-11-24-20.16.07.000001", "2026-11-24-20.16.07.000001"},
      {"Timestamp", "2026-11-24 20:16:07", "2026-11-24-20.16.07.000000"},
      {"Timestamp", "2026-11-24", "2026-11-24-00.00.00.000000"},
      {"Timestamp", "2026-11-24-05:00", "2026-11-24-00.00.00.000000"},  // a zone
      {"Timestamp", "2026-11-24T", "malformed"},
      {"Timestamp", "2026-11-24T20", "malformed"},
      {"Timestamp", "2026-11-24T25:00:00", "malformed"},
      {"Timestamp", "20:16:07", "malformed"},
      {"Timestamp", "now", "malformed"},
  });
}

TEST_F(LexicalFormsTest, AnEmptyTextIsNoValue) {
  for (const char* text : {"", " \n "}) {
    db_.store("<a><b>" + std::string(text) + "</b></a>");
    for (const char* type :
         {"Integer", "Smallint", "Double", "Real", "Date", "Time", "Timestamp"}) {
      SCOPED_TRACE(std::string(type) + " '" + text + "'");
      EXPECT_EQ(db_.value(std::string("orvxml.extract") + type + "(v, '/a/b')"), "NULL");
      EXPECT_EQ(db_.values(std::string("orvxml.extract") + type + "s(v, '/a/b')"),
                std::vector<std::string>{"NULL"});
    }
  }
}

TEST_F(LexicalFormsTest, AFailureShowsTheValueInItsRoom) {
  struct Case {
    const char* text;
    const char* shown;
  };
  const Case cases[] = {
      {" twelve ", " 'twelve'"},
      {"twelve and some more than that", " 'twelve and some more '"},
      {"1\n2 \xC3\xA4", " '1?2 ?\?'"},
  };
  for (const Case& c : cases) {
    db_.store("<a>" + std::string(c.text) + "</a>");
    EXPECT_EQ(db_.failure("orvxml.extractInteger(v, '/a')"), std::string(kMalformed) + c.shown);
  }
}

}  // namespace
}  // namespace orvxml::test
