// The mapping that a subcommand works by, and where a message about it points.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orv/session.h"

namespace orvxml::command {

struct Mapping {
  bool isCollection = false;
  std::string name;  // file of the mapping, or name of the collection; stands in messages
  std::string dad;   // text of the mapping in UTF-8; unused for a collection
};

// Throws Failure with kWrongUse unless exactly one of the two is given.
void checkMapping(const std::string& dad, const std::string& collection);
// The mapping of the file `dad` or of the collection. Throws Failure when the file cannot be read.
Mapping readMapping(const std::string& dad, const std::string& collection);

// Where places in the mapping are looked for; empty for a collection that is not there.
std::string textOf(orv::Session& session, const Mapping& mapping);

// How messages name a mapping.
std::string labelOf(const Mapping& mapping);

struct Position {
  std::string line, column;
};

// "place:line:column"
std::string located(const std::string& place, const Position& position);

}  // namespace orvxml::command
