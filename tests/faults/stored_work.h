// Work in a stored database as units of work, each of which is committed: a database is enabled, a
// column of mails is, documents come, change and go, and documents are decomposed into tables.
#pragma once

#include <functional>

#include "tests/support/stored_database.h"

namespace orvxml::test {

// Commits nothing; the outcome is that of the first call that fails.
using Act = std::function<CallOutcome(StoredDatabase&)>;

struct UnitOfWork {
  const char* label;
  Act act;
};
using Work = std::vector<UnitOfWork>;

inline Act statements(const std::vector<std::string>& texts) {
  return [texts](StoredDatabase& db) -> CallOutcome {
    for (const std::string& text : texts) {
      const orv::Outcome outcome = db.session().run(text).outcome;
      if (outcome.failed()) return {outcome.sqlcode, outcome.message};
    }
    return {0, ""};
  };
}
inline Act procedure(CallOutcome (*call)()) {
  return [call](StoredDatabase&) { return call(); };
}

inline const std::string kMail = ORVXML_SOURCE_DIR "/examples/mail/";
inline const std::string kInvoices = ORVXML_SOURCE_DIR "/examples/invoices/";

inline CallOutcome enableDatabase() {
  char name[] = "MAILS";
  return callList(&qrkEnableDB_STP, &name[0]);
}
inline CallOutcome disableDatabase() {
  char name[] = "MAILS";
  return callList(&qrkDisableDB_STP, &name[0]);
}
inline CallOutcome enableMailColumn() {
  char table[] = "mail", column[] = "doc", view[] = "mail_view";
  ClobArgument dad(readFile(kMail + "mail.dad"));
  char* const none = nullptr;
  return callList(&qrkEnableColumn_STP, &table[0], &column[0], dad.get(), none, &view[0], none);
}
inline CallOutcome disableMailColumn() {
  char table[] = "mail", column[] = "doc";
  return callList(&qrkDisableColumn_STP, &table[0], &column[0]);
}

// An expression: a mail with as many receivers.
inline std::string mail(const std::string& sender, int receivers) {
  std::string text = R"(<!DOCTYPE mail SYSTEM "mail.dtd"><mail sent="2026-11-23"><from>)" + sender +
                     "</from><subject>s</subject><size>12.5</size>";
  for (int i = 0; i < receivers; ++i) text += "<to>receiver " + std::to_string(i) + "</to>";
  return "orvxml.XMLCLOB('" + text + "</mail>')";
}
inline std::string insertMail(int id, const std::string& sender = "Ada") {
  return "insert into mail (id, doc) values (" + std::to_string(id) + ", " + mail(sender, 2) + ")";
}

inline void doWhole(StoredDatabase& db, const UnitOfWork& unit) {
  SCOPED_TRACE(unit.label);
  const CallOutcome outcome = unit.act(db);
  EXPECT_GE(outcome.code, 0) << outcome;
  db.commit();
}

inline std::vector<std::string> scriptOf(const std::string& file) {
  std::vector<std::string> texts;
  for (const orv::ScriptStatement& s : orv::splitScript(readFile(file))) texts.push_back(s.text);
  return texts;
}

inline const UnitOfWork kEnableDatabase{"enable the database", procedure(&enableDatabase)};
inline const UnitOfWork kMailTable{"a table of mails", statements(scriptOf(kMail + "tables.sql"))};
inline const UnitOfWork kInvoiceTables{"tables of invoices",
                                       statements(scriptOf(kInvoices + "tables.sql"))};
inline const UnitOfWork kAddDtd{
    "a DTD", statements({"insert into orvxml.dtd_ref (dtdid, content, usage_count) values "
                         "('mail.dtd', orvxml.XMLCLOB('" +
                         readFile(kMail + "mail.dtd") + "'), 0)"})};
inline const UnitOfWork kEnableColumn{"enable the column", procedure(&enableMailColumn)};
inline const UnitOfWork kDisableColumn{"disable the column", procedure(&disableMailColumn)};

// Small and large units of work over the column.
inline const Work kMailChanges = {
    {"one row", statements({insertMail(1)})},
    {"many rows", statements({insertMail(2, "Grace"), insertMail(3, "Grace"),
                              "insert into mail (id, doc) select id + 10, doc from mail",
                              "insert into mail (id, doc) select id + 100, doc from mail"})},
    {"changed rows",
     statements(
         {"update mail set doc = " + mail("Edsger", 5) + " where mod(id, 2) = 0",
          "update mail set doc = orvxml.update(doc, '/mail/from', 'Barbara') where id = 1"})},
    {"one row that goes", statements({"delete from mail where id = 2"})},
    {"rows that go and one that comes",
     statements({"delete from mail where id > 50", insertMail(200, "Alan")})},
};

inline UnitOfWork decompose(const char* document) {
  return {document, [document](StoredDatabase&) {
            return callListForm("qrkShredXML", readFile(kInvoices + "invoices.dad"),
                                readFile(kInvoices + "documents/" + document));
          }};
}

// How many mails and side rows do not stand for each other, by what the documents hold now.
inline Rows mailsOutOfStep(StoredDatabase& db) {
  const std::string mails = "(select count(*) from mail)";
  return db.rows(
      "values ((select count(*) from mail m where not exists (select 1 from mail_head h where"
      " h.qrkroot_id = m.qrkroot_id and h.sender = orvxml.extractVarchar(m.doc, '/mail/from') and"
      " h.sent = orvxml.extractDate(m.doc, '/mail/@sent'))), " +
      mails + " - (select count(*) from mail_head), " + mails +
      " - (select count(*) from mail_size), (select count(*) from mail m,"
      " table(orvxml.extractVarchars(m.doc, '/mail/to')) x, mail_to t where t.qrkroot_id ="
      " m.qrkroot_id and t.receiver = x.returnedVarchar) - (select count(*) from mail_to),"
      " (select count(*) from mail m, table(orvxml.extractVarchars(m.doc, '/mail/to')) x) -"
      " (select count(*) from mail_to))");
}
inline const Rows kInStep{{"0", "0", "0", "0", "0"}};

}  // namespace orvxml::test
