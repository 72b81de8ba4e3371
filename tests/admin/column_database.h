// An enabled database with a table of letters, and calls that enable and disable its columns in
// both forms of the procedures.
//
//   ColumnDatabase db;
//   EXPECT_EQ(db.enableColumn({.dad = lettersDad()}), enabled());
#pragma once

#include "orvxml/messages.h"
#include "tests/support/admin_calls.h"
#include "tests/support/dads.h"

namespace orvxml::test {

enum class ColumnForm { Call, List };  // the registered procedure, the "_STP" form
inline constexpr ColumnForm kColumnForms[] = {ColumnForm::Call, ColumnForm::List};

struct ColumnArguments {
  Text dad = std::nullopt;
  Text tableSpace = std::nullopt, view = std::nullopt, rootid = std::nullopt;
  Text table = "letters", column = "doc";
  ColumnForm form = ColumnForm::List;
};

class ColumnDatabase : public AdminDatabase {
 public:
  using Database::run;

  explicit ColumnDatabase(int codePage = 1208)
      : AdminDatabase(codePage), temporary_("ORVQRKTEMP", folder_.path().c_str()) {
    EXPECT_EQ(enable().code, 0);
    run("create table letters (no integer not null primary key, doc orvxml.XMLVarchar)");
    commit();
  }

  CallOutcome enableColumn(ColumnArguments a) {
    if (a.form == ColumnForm::Call) {
      return call("ORVXML", "QRKENABLECOLUMN",
                  {"SHOP", a.table, a.column, a.dad, a.tableSpace, a.view, a.rootid});
    }
    ClobArgument mapping(a.dad);
    return callList(&qrkEnableColumn_STP, pointer(a.table), pointer(a.column),
                    a.dad ? mapping.get() : nullptr, pointer(a.tableSpace), pointer(a.view),
                    pointer(a.rootid));
  }

  CallOutcome disableColumn(ColumnForm form = ColumnForm::List, Text column = "doc",
                            Text table = "letters") {
    if (form == ColumnForm::Call) {
      return call("ORVXML", "QRKDISABLECOLUMN", {"SHOP", table, column});
    }
    return callList(&qrkDisableColumn_STP, pointer(table), pointer(column));
  }

  void insert(int no, const std::string& document, int sqlcode = 0) {
    run("insert into letters (no, doc) values (" + std::to_string(no) + ", orvxml.XMLVarchar('" +
            document + "'))",
        sqlcode);
  }

  void addDtd(const std::string& id, const std::string& text) {
    run("insert into orvxml.dtd_ref (dtdid, content, usage_count) values ('" + id +
        "', orvxml.XMLCLOB('" + text + "'), 0)");
  }

  std::string usageCount(const std::string& dtdid) {
    return rows("select usage_count from orvxml.dtd_ref where dtdid = '" + dtdid + "'").at(0).at(0);
  }

 private:
  const TemporaryFolder folder_;  // of the DTDs that documents are validated against
  const Variable temporary_;
};

inline CallOutcome enabled(const std::string& column = "doc") {
  return {0, "QRKA022I  Column " + column + " enabled."};
}
inline CallOutcome disabled(const std::string& column = "doc") {
  return {0, "QRKA034I  XML Annex has successfully disabled column " + column + "."};
}

// A side table "side" with the column "c".
inline std::string oneColumn(const std::string& type, const std::string& path = "/a",
                             const std::string& occurrence = "NO") {
  return columnDad(sideTable("side", sideColumn("c", type, path, occurrence)));
}

// The letters' mapping: a head, its price, and the receivers, one row each.
inline std::string lettersDad(const std::string& settings = "") {
  return columnDad(
      sideTable("head", sideColumn("sender", "varchar(20)", "/letter/from") +
                            sideColumn("sent", "date", "/letter/@date")) +
          sideTable("cost", sideColumn("price", "decimal(7,2)", "/letter/price")) +
          sideTable("receiver", sideColumn("name", "varchar(20)", "/letter/to", "YES")),
      settings);
}

inline std::string letter(const std::string& from, const std::string& price,
                          const std::vector<std::string>& to) {
  std::string text = "<letter date=\"2026-11-24\"><from>" + from + "</from>";
  for (const std::string& name : to) text += "<to>" + name + "</to>";
  return text + "<price>" + price + "</price></letter>";
}

// Code and message of a failure; behind the server's own text where that is asked for.
struct Expected {
  Msg message;
  std::string text;
  bool fromServer = false;
};
inline Expected told(Msg message, const std::vector<std::string>& arguments = {}) {
  Expected expected{message, qrkMsgTable[static_cast<size_t>(message)]};
  for (const std::string& argument : arguments) {
    expected.text.replace(expected.text.find("%s"), 2, argument);
  }
  return expected;
}
inline Expected byServer(Msg message, const std::vector<std::string>& arguments = {}) {
  Expected expected = told(message, arguments);
  expected.fromServer = true;
  return expected;
}

inline void expectOutcome(const CallOutcome& outcome, const Expected& expected) {
  EXPECT_EQ(outcome.code, codeOf(expected.message)) << outcome.message;
  if (!expected.fromServer) {
    EXPECT_EQ(outcome.message, expected.text);
    return;
  }
  EXPECT_TRUE(outcome.message.starts_with("ORV")) << outcome.message;
  EXPECT_TRUE(outcome.message.ends_with("QRKM001W  A ORV error occurred.\n" + expected.text))
      << outcome.message;
}

}  // namespace orvxml::test
