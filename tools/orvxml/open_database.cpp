#include "open_database.h"

#include "orv/apie.h"
#include "orvxml/administration.h"
#include "orvxml/bind_options.h"
#include "orvxml/buffer.h"
#include "orvxml/sql_literal.h"

namespace orvxml::command {

namespace {

// Of a literal: half of what the server takes, since a code page may need more than UTF-8.
constexpr size_t kLiteralBytes = 16000;

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

std::string serverText(const sqlca& area) {
  char text[1024];
  const int length = sqlaintp_api(text, sizeof text, 0, nullptr, &area);
  if (length > 0) return std::string(text, static_cast<size_t>(length));
  return "SQLCODE " + std::to_string(area.sqlcode);
}

// Halves within halves: the server limits how deep an expression nests.
std::string clobExpression(const std::string& text) {
  if (text.size() <= kLiteralBytes) return "CAST(" + literalText(text) + " AS CLOB(2G))";
  size_t half = text.size() / 2;
  while (isContinuation(text[half])) --half;
  return '(' + clobExpression(text.substr(0, half)) + " || " + clobExpression(text.substr(half)) +
         ')';
}

}  // namespace

const std::string& requireDatabase(const Settings& settings) {
  if (settings.database.empty()) {
    throw Failure("", "no database: give --db PATH or set ORVXML_DB", kWrongUse);
  }
  return settings.database;
}

void require(const orv::Outcome& outcome, const std::string& where) {
  if (!outcome.failed()) return;
  throw Failure(where, outcome.message.empty() ? "SQLCODE " + std::to_string(outcome.sqlcode)
                                               : outcome.message);
}

std::unique_ptr<orv::Session> openDatabase(const Settings& settings) {
  orv::Outcome outcome;
  std::unique_ptr<orv::Session> session = orv::Session::open(requireDatabase(settings), outcome);
  require(outcome, settings.database);
  session->makeCurrent();
  return session;
}

void bindPackages() {
  char list[kPathSize];
  if (qrkGetBindDir(nullptr, list) != 0)
    throw Failure("", "the path of the bind files is too long");
  sqlca area{};
  sqlabndx(list, nullptr, BindOptions().get(), &area);
  if (area.sqlcode < 0) throw Failure(list, serverText(area));
}

orv::Result runStatement(orv::Session& session, const std::string& where,
                         const std::string& statement) {
  orv::Result result = session.run(statement);
  require(result.outcome, where);
  return result;
}

bool isEnabled(orv::Session& session, const std::string& where) {
  return !runStatement(session, where,
                       "SELECT tabname FROM syscat.tables WHERE tabschema = 'ORVXML' AND "
                       "tabname = 'XML_USAGE'")
              .rows.empty();
}

std::string sqlText(const std::string& text) {
  return text.size() <= kLiteralBytes ? literalText(text) : clobExpression(text);
}

}  // namespace orvxml::command
