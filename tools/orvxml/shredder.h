// Hands documents to the library's decomposition procedures, one call a document, and knows which
// of their forms to take: the registered procedure through CALL where it is there and the values
// fit its parameters, the parameter-list form in the current session otherwise.
#pragma once

#include <string>
#include <string_view>

#include "given_mapping.h"
#include "orv/session.h"

namespace orvxml::command {

struct ShredOutcome {
  int code = 0;         // negative: failed
  std::string message;  // UTF-8, of one line or several
};

class Shredder {
 public:
  // `session` is current. Throws Failure when the mapping has no place in the database's code page.
  Shredder(orv::Session& session, Mapping mapping);

  // Decomposes one document in UTF-8; `name` stands in messages. Commits and rolls back nothing.
  ShredOutcome shred(const std::string& name, const std::string& document);

  const Mapping& mapping() const { return mapping_; }

 private:
  bool fitsParameters(const std::string& document) const;
  ShredOutcome callRegistered(const std::string& document);
  ShredOutcome callDirectly(const std::string& document);

  orv::Session& session_;
  Mapping mapping_;
  std::string databaseMapping_;  // text or collection name in the database's code page
  bool registered_ = true;       // until a CALL finds no procedure
};

}  // namespace orvxml::command
