#include "dtd_command.h"

#include <cstdio>

#include "console.h"
#include "input_file.h"
#include "open_database.h"
#include "orvxml/sql_literal.h"
#include "procedure_values.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

enum class Purpose { Read, Change };

std::unique_ptr<orv::Session> openEnabled(const Settings& settings, Purpose purpose) {
  std::unique_ptr<orv::Session> session = openDatabase(settings);
  if (purpose == Purpose::Change) require(session->beginChange(), settings.database);
  if (!isEnabled(*session, settings.database)) {
    throw Failure(settings.database, "the database is not enabled: run orvxml enable-db");
  }
  return session;
}

// An id as an SQL literal.
std::string keyOf(const std::string& id) {
  if (id.empty()) throw Failure("", "the DTD needs an id", kWrongUse);
  return literalText(plainTextAsUtf8("DTD id", id));
}

// Runs a change as one unit of work: committed when it succeeded, rolled back when it did not.
// `nothing` is what to say when no row was changed.
void change(const Settings& settings, orv::Session& session, const std::string& statement,
            const std::string& done, const std::string& nothing) {
  orv::Result result = session.run(statement);
  if (result.outcome.failed() || result.rowCount == 0) {
    session.rollback();
    throw Failure(settings.database,
                  (result.outcome.failed() ? result.outcome.message : nothing) + kRolledBack);
  }
  require(session.commit(), settings.database);
  if (!settings.quiet) printMessage("", done);
}

}  // namespace

void addDtd(const Settings& settings, const std::string& id, const std::string& file) {
  requireDatabase(settings);
  const std::string key = keyOf(id);
  const std::string name = inputName(file);
  const std::string dtd = documentAsUtf8(name, readWhole(file, kLargestMapping));
  if (dtd.size() > kDocumentParameter) {
    throw Failure(name, "the DTD has " + std::to_string(dtd.size()) + " bytes; at most " +
                            std::to_string(kDocumentParameter) + " can be registered");
  }
  const std::unique_ptr<orv::Session> session = openEnabled(settings, Purpose::Change);
  // Refuses what has no place in the code page here, where the line can be told.
  toCodePage(name, dtd, session->codePage());
  const orv::Result found = runStatement(*session, settings.database,
                                         "SELECT dtdid FROM orvxml.dtd_ref WHERE dtdid = " + key);
  if (!found.rows.empty()) {
    throw Failure(settings.database, "there is a DTD " + id + " already; nothing was changed");
  }
  change(settings, *session,
         "INSERT INTO orvxml.dtd_ref (dtdid, content, usage_count) VALUES (" + key +
             ", orvxml.XMLCLOB(" + sqlText(dtd) + "), 0)",
         "added the DTD " + id, "");
}

void removeDtd(const Settings& settings, const std::string& id) {
  const std::string key = keyOf(id);
  const std::unique_ptr<orv::Session> session = openEnabled(settings, Purpose::Change);
  change(settings, *session, "DELETE FROM orvxml.dtd_ref WHERE dtdid = " + key,
         "removed the DTD " + id, "there is no DTD " + id);
}

void listDtds(const Settings& settings) {
  const std::unique_ptr<orv::Session> session = openEnabled(settings, Purpose::Read);
  orv::Result result =
      runStatement(*session, settings.database,
                   "SELECT dtdid, usage_count, length(content) FROM orvxml.dtd_ref ORDER BY dtdid");
  const char* const titles[] = {"DTD", "USES", "BYTES"};
  const char* const members[] = {"dtd", "uses", "bytes"};
  for (size_t i = 0; i < result.columns.size(); ++i) {
    result.columns[i].name = settings.json ? members[i] : titles[i];
  }
  const std::unique_ptr<ResultWriter> writer =
      makeResultWriter(settings.json ? ResultFormat::Json : ResultFormat::Table, stdout);
  writer->begin(result.columns);
  for (const auto& row : result.rows) writer->row(row);
  writer->end();
}

}  // namespace orvxml::command
