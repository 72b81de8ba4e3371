#include "usage.h"

#include "local_context.h"
#include "open_database.h"

namespace orvxml::command {

namespace {

// Columns of fixed length are padded.
std::string trimmed(const orv::ResultValue& value) {
  std::string text = value.value_or("");
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

}  // namespace

std::vector<Usage> readUsage(orv::Session& session, const std::string& where) {
  const orv::Result result =
      runStatement(session, where,
                   "SELECT table_schema, table_name, col_name, dtdid, default_view, "
                   "trigger_suffix, dad, validation FROM orvxml.xml_usage "
                   "ORDER BY table_schema, table_name, col_name");
  std::vector<Usage> all;
  for (const auto& row : result.rows) {
    Usage usage{trimmed(row[0]), trimmed(row[1]), trimmed(row[2]),    trimmed(row[3]),
                trimmed(row[4]), trimmed(row[5]), row[6].value_or("")};
    usage.isValidated = row[7].value_or("0") != "0";
    usage.isCollection = usage.schema == "QRK_COLL" && usage.table == "QRK_COLLECTION";
    all.push_back(std::move(usage));
  }
  return all;
}

ColumnMapping readColumnMapping(const std::string& mapping) {
  LocalContext context;
  std::string text = mapping;
  QrkOutbuf buffer{};
  buffer.data = text.data();
  buffer.loctype = QRK_LOC_MEMORY;
  buffer.size = static_cast<uint32_t>(text.size());
  ColumnMapping read;
  read.model.reset(dad_popu(context.get(), "", "", &buffer, 1, context.message, context.sqlState));
  if (!read.model) read.message = context.message;
  return read;
}

}  // namespace orvxml::command
