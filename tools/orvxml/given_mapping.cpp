#include "given_mapping.h"

#include "input_file.h"
#include "open_database.h"
#include "orvxml/sql_literal.h"
#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

void checkMapping(const std::string& dad, const std::string& collection) {
  if (dad.empty() == collection.empty()) {
    throw Failure("", "give either --dad or --collection", kWrongUse);
  }
}

Mapping readMapping(const std::string& dad, const std::string& collection) {
  if (!collection.empty()) return {true, collection, ""};
  const std::string name = inputName(dad);
  return {false, name, documentAsUtf8(name, readWhole(dad, kLargestMapping))};
}

std::string textOf(orv::Session& session, const Mapping& mapping) {
  if (!mapping.isCollection) return mapping.dad;
  const orv::Result result = session.run(
      "SELECT DAD FROM ORVXML.XML_USAGE WHERE TABLE_SCHEMA = 'QRK_COLL' AND TABLE_NAME = "
      "'QRK_COLLECTION' AND COL_NAME = " +
      literalText(mapping.name));
  return result.rows.empty() ? "" : result.rows[0][0].value_or("");
}

std::string labelOf(const Mapping& mapping) {
  return mapping.isCollection ? "mapping of collection " + mapping.name : mapping.name;
}

std::string located(const std::string& place, const Position& position) {
  return place + ':' + position.line + ':' + position.column;
}

}  // namespace orvxml::command
