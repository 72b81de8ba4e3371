// Has the library compose documents from the tables of the current session. Documents that become
// rows go through the registered procedure where it is there and the values fit its parameters,
// else through the parameter-list form.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "given_mapping.h"
#include "orv/session.h"
#include "orvxml/compose_documents.h"

namespace orvxml::command {

// Text that takes the place of a mapping's statement, or adds conditions by location path.
struct Override {
  enum Type : int { kNone = 0, kSql = 1, kXml = 2 };  // as the procedures take it

  int type = kNone;
  std::string text;  // UTF-8
};

// Where documents become rows. Without a column the documents go into the table's own, and a column
// for validation results is added when the mapping asks for validation.
struct ResultTable {
  std::string name;
  std::string column;
  std::string validColumn;  // empty: none
};

struct ComposeOutcome {
  int code = 0;         // negative: failed; positive: a warning
  std::string message;  // UTF-8, of one line or several
  int documents = 0;    // composed
};

class Composer {
 public:
  // `session` is current. Throws Failure when mapping or override has no place in the database's
  // code page.
  Composer(orv::Session& session, Mapping mapping, Override override);

  // Both commit and roll back nothing. `maxRows` 0: no limit.
  ComposeOutcome composeDocuments(DocumentReceiver& receiver, bool firstOnly, int maxRows);
  ComposeOutcome composeRows(const ResultTable& table, int maxRows);

  const Mapping& mapping() const { return mapping_; }

 private:
  std::string toDatabase(const std::string& where, const std::string& text) const;
  bool fitsParameters() const;
  std::optional<ComposeOutcome> call(std::vector<orv::Argument> arguments);
  orv::Argument source() const { return {mapping_.isCollection ? mapping_.name : mapping_.dad}; }
  orv::Argument overrideText() const;
  ComposeOutcome composeRowsDirectly(const ResultTable& table, int maxRows);
  template <class ByDad, class ByName, class... Arguments>
  int callEither(ByDad* byDad, ByName* byName, Arguments... arguments);

  orv::Session& session_;
  Mapping mapping_;
  Override override_;
  std::string databaseMapping_;  // text or collection name in the database's code page
  std::string databaseOverride_;
};

}  // namespace orvxml::command
