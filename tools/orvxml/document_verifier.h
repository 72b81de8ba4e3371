// Composes what a document became in the tables of the current unit of work, and compares.
#pragma once

#include <optional>
#include <string>

#include "given_mapping.h"
#include "notice_log.h"
#include "orv/session.h"

namespace orvxml::command {

struct Difference {
  size_t element = 0;  // in the document; 0: no place
  std::string text;
};

// The first difference between the document and what the rows give, or nothing. `origin`: the
// override that composes it; without one every document of the mapping is looked at until one is
// the same.
std::optional<Difference> verifyDocument(orv::Session& session, const Mapping& mapping,
                                         const std::string& origin, const NamedText& document);

}  // namespace orvxml::command
