#include "dtd_command.h"

#include <cstdio>

#include "console.h"
#include "database.h"
#include "input_file.h"
#include "result_writer.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

std::unique_ptr<orv::Session> openEnabled(const Settings& settings) {
  std::unique_ptr<orv::Session> session = openDatabase(settings);
  if (!isEnabled(*session, settings.database)) {
    throw Failure(settings.database, "the database is not enabled: run orvxml enable-db");
  }
  return session;
}

void commit(const Settings& settings, orv::Session& session, const std::string& text) {
  require(session.commit(), settings.database);
  if (!settings.quiet) printMessage("", text);
}

}  // namespace

void addDtd(const Settings& settings, const std::string& id, const std::string& file) {
  requireDatabase(settings);
  const std::string name = inputName(file);
  const std::string dtd = documentAsUtf8(name, readWhole(file));
  const std::unique_ptr<orv::Session> session = openEnabled(settings);
  // Refuses what has no place in the code page here, where the line can be told.
  toCodePage(name, dtd, session->codePage());
  const std::string key = sqlLiteral(id);
  const orv::Result found = runStatement(*session, settings.database,
                                         "SELECT dtdid FROM orvxml.dtd_ref WHERE dtdid = " + key);
  if (!found.rows.empty()) {
    throw Failure(settings.database, "there is a DTD " + id + " already; nothing was changed");
  }
  runStatement(*session, name,
               "INSERT INTO orvxml.dtd_ref (dtdid, content, usage_count) VALUES (" + key +
                   ", orvxml.XMLCLOB(" + sqlLiteral(dtd) + "), 0)");
  commit(settings, *session, "added the DTD " + id);
}

void removeDtd(const Settings& settings, const std::string& id) {
  const std::unique_ptr<orv::Session> session = openEnabled(settings);
  const orv::Result result =
      session->run("DELETE FROM orvxml.dtd_ref WHERE dtdid = " + sqlLiteral(id));
  require(result.outcome, "DTD " + id + " stays");
  if (result.rowCount == 0) throw Failure(settings.database, "there is no DTD " + id);
  commit(settings, *session, "removed the DTD " + id);
}

void listDtds(const Settings& settings) {
  const std::unique_ptr<orv::Session> session = openEnabled(settings);
  const orv::Result result = runStatement(
      *session, settings.database,
      "SELECT dtdid, usage_count AS uses, length(content) AS bytes FROM orvxml.dtd_ref "
      "ORDER BY dtdid");
  const std::unique_ptr<ResultWriter> writer =
      makeResultWriter(settings.json ? ResultFormat::Json : ResultFormat::Table, stdout);
  writer->begin(result.columns);
  for (const auto& row : result.rows) writer->row(row);
  writer->end();
}

}  // namespace orvxml::command
