// Calls of the decomposition procedures in both of their forms, on a test's own database.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <ostream>

#include "orvxml/procedures.h"
#include "tests/support/database.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/texts.h"

namespace orvxml::test {

using Text = std::optional<std::string>;  // an argument; without a value it is null

struct CallOutcome {
  int code;
  std::string message;  // without its newline
  bool operator==(const CallOutcome&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const CallOutcome& outcome) {
  return out << outcome.code << ' ' << outcome.message;
}

inline std::string withoutNewline(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

// A CLOB argument of the "_STP" forms.
class ClobArgument {
 public:
  explicit ClobArgument(const Text& text) : bytes_(sizeof(int32_t) + text.value_or("").size() + 1) {
    const int32_t length = static_cast<int32_t>(text.value_or("").size());
    std::memcpy(bytes_.data(), &length, sizeof length);
    if (text) text->copy(bytes_.data() + sizeof length, text->size());
  }
  clob* get() { return reinterpret_cast<clob*>(bytes_.data()); }

 private:
  std::vector<char> bytes_;
};

// The outcome of an "_STP" form, with its indicators checked.
inline CallOutcome callListForm(const std::string& procedure, const Text& first,
                                const Text& document) {
  ClobArgument dad(first);
  ClobArgument xml(document);
  int code = 99;
  char message[kMessageSize] = "not written";
  short indicators[4] = {short(first ? 0 : -1), short(document ? 0 : -1), -1, -1};
  const int returned =
      procedure == "qrkShredXML"
          ? qrkShredXML_STP(dad.get(), xml.get(), &code, message, &indicators[0], &indicators[1],
                            &indicators[2], &indicators[3])
          : qrkInsertXML_STP(first ? first->c_str() : nullptr, xml.get(), &code, message,
                             &indicators[0], &indicators[1], &indicators[2], &indicators[3]);
  EXPECT_EQ(returned, code);
  EXPECT_EQ((std::vector<short>(indicators, indicators + 4)),
            (std::vector<short>{-128, -128, 0, 0}));
  return {code, withoutNewline(message)};
}

// A database with the schema ORVXML as decomposition needs it.
class DecomposeDatabase : public Database {
 public:
  explicit DecomposeDatabase(int codePage = 1208, bool bound = true)
      : Database(codePage, ":memory:", bound) {
    runScript(readFile(ORVXML_SOURCE_DIR "/tests/support/procedures.sql"));
  }

  // Enters a collection; without a DAD its column is null.
  void addCollection(const std::string& name, const Text& dad) {
    run("insert into orvxml.xml_usage (table_schema, table_name, col_name, dad, access_mode,"
        " validation, trigger_suffix) values ('', 'QRK_COLLECTION', '" +
        name + "', " + (dad ? literal(*dad) : "null") + ", 0, 0, '')");
  }

  // Calls the registered procedure, as the server does.
  CallOutcome call(const std::string& procedure, const Text& first, const Text& document) {
    const orv::CallResult result = session().call(
        "ORVXML", upperCase(procedure), {{first}, {document}, {std::nullopt}, {std::nullopt}});
    EXPECT_FALSE(result.outcome.failed()) << result.outcome.message;
    if (result.outputs.size() != 4) return {0, "no outputs"};
    return {std::stoi(result.outputs[2].value_or("99")),
            withoutNewline(result.outputs[3].value_or("null"))};
  }

 private:
  static std::string upperCase(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return name;
  }
};

}  // namespace orvxml::test
