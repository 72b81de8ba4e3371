// Has the library compose documents from the tables of the current session, and knows which form of
// its procedures to take: the registered one through CALL where it is there and the values fit its
// parameters, the parameter-list form otherwise.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mapping.h"
#include "orv/session.h"

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
  int code = 0;               // negative: failed; positive: a warning
  std::string message;        // UTF-8, of one line or several
  int documents = 0;          // composed
  std::string document;       // the first one, in UTF-8; empty when there is a result table
  std::optional<bool> valid;  // of that document, when it was validated
};

class Composer {
 public:
  // `session` is current. Throws Failure when mapping or override has no place in the database's
  // code page.
  Composer(orv::Session& session, Mapping mapping, Override override);

  // Both commit and roll back nothing. `maxRows` 0: no limit.
  ComposeOutcome composeDocument();
  ComposeOutcome composeRows(const ResultTable& table, int maxRows);

  const Mapping& mapping() const { return mapping_; }

 private:
  std::string toDatabase(const std::string& where, const std::string& text) const;
  bool fitsParameters() const;
  std::optional<ComposeOutcome> call(const std::string& name, std::vector<orv::Argument> arguments,
                                     size_t inputs, size_t outputs);
  orv::Argument source() const { return {mapping_.isCollection ? mapping_.name : mapping_.dad}; }
  orv::Argument overrideText() const;
  ComposeOutcome composeDocumentDirectly();
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
