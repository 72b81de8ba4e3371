// Calls of the administration procedures in both of their forms, on a test's own database, and a
// picture of its catalog.
//
//   AdminDatabase db;
//   const Catalog before = db.catalog();
//   EXPECT_EQ(db.enable(), (CallOutcome{0, "QRKA006I  The database SHOP was enabled ..."}));
#pragma once

#include <array>
#include <map>
#include <utility>

#include "orvxml/administration.h"
#include "tests/support/decompose_calls.h"

namespace orvxml::test {

// The rows of the catalog's views, by view.
using Catalog = std::map<std::string, Rows>;

// Calls an "_STP" form, whose parameters are its inputs, code and message, and the indicators of
// all of them. A null pointer is a null argument.
template <class Procedure, class... In>
CallOutcome callList(Procedure procedure, In... in) {
  std::array<short, sizeof...(In)> ins{short(in ? 0 : -1)...};
  short outs[2] = {-1, -1};
  int code = 99;
  char message[kMessageSize] = "not written";
  const int returned = [&]<size_t... I>(std::index_sequence<I...>) {
    return procedure(in..., &code, message, &ins[I]..., &outs[0], &outs[1]);
  }
  (std::make_index_sequence<sizeof...(In)>());
  EXPECT_EQ(returned, code);
  for (const short indicator : ins) EXPECT_EQ(indicator, -128);
  for (const short indicator : outs) EXPECT_EQ(indicator, 0);
  return {code, withoutNewline(message)};
}

// The argument of a list form.
inline char* pointer(Text& text) {
  return text ? text->data() : nullptr;
}

class AdminDatabase : public Database {
 public:
  using Database::Database;

  CallOutcome enable(Text name = "SHOP") { return callList(&qrkEnableDB_STP, pointer(name)); }
  CallOutcome enable(Text name, Text tableSpace, Text tableSpace2) {
    return callList(&qrkEnableDB_STP1, pointer(name), pointer(tableSpace), pointer(tableSpace2));
  }
  CallOutcome disable(Text name = "SHOP") { return callList(&qrkDisableDB_STP, pointer(name)); }

  CallOutcome enableCollection(Text name, const Text& dad, Text tableSpace = std::nullopt) {
    ClobArgument object(dad);
    char dbName[] = "SHOP";
    return callList(&qrkEnableColl_STP, dbName, pointer(name), dad ? object.get() : nullptr,
                    pointer(tableSpace));
  }
  CallOutcome disableCollection(Text name) {
    char dbName[] = "SHOP";
    return callList(&qrkDisableColl_STP, dbName, pointer(name));
  }

  // Calls a registered procedure, as the server does.
  CallOutcome call(const std::string& schema, const std::string& name,
                   const std::vector<Text>& inputs) {
    std::vector<orv::Argument> arguments;
    for (const Text& input : inputs) arguments.push_back({input});
    arguments.resize(inputs.size() + 2);
    const orv::CallResult result = session().call(schema, name, arguments);
    EXPECT_FALSE(result.outcome.failed()) << result.outcome.message;
    if (result.outputs.size() != arguments.size()) return {0, "no outputs"};
    return {std::stoi(result.outputs[inputs.size()].value_or("99")),
            withoutNewline(result.outputs[inputs.size() + 1].value_or("null"))};
  }

  // Without the names of schemas, which stay when the last object in them goes.
  Catalog catalog() {
    Catalog all;
    for (const Row& view : rows("select tabname from syscat.tables where tabschema = 'SYSCAT'"
                                " and tabname <> 'SCHEMATA'")) {
      all[view.front()] = rows("select * from syscat." + view.front());
    }
    EXPECT_GE(all.size(), 13u);
    return all;
  }
};

}  // namespace orvxml::test
