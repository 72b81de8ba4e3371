// What ORVXML.XML_USAGE holds: the enabled columns and collections, and the side tables that a
// column's mapping names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orv/session.h"
#include "orvxml/column_dad.h"

namespace orvxml::command {

struct Usage {
  std::string schema, table;  // of a column
  std::string name;           // of the column, or of the collection
  std::string dtd, view, suffix, mapping;
  bool isValidated = false;
  bool isCollection = false;

  std::string qualifiedTable() const { return schema + '.' + table; }
};

// In the order of their names. The database is enabled. Throws Failure, with `where` in front.
std::vector<Usage> readUsage(orv::Session& session, const std::string& where);

// The model of a column's mapping, in UTF-8, as the library reads it.
struct ColumnMapping {
  ModelOwner model;     // null: the mapping cannot be read
  std::string message;  // then: why
};
ColumnMapping readColumnMapping(const std::string& mapping);

}  // namespace orvxml::command
