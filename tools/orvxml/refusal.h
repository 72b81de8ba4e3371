// Why the server refused a document in a column, as far as its message does not say: what the
// validation found, or which value of which side table could not be taken.
#pragma once

#include <optional>
#include <string>

#include "given_mapping.h"
#include "notice_log.h"
#include "orv/session.h"

namespace orvxml::command {

struct Refusal {
  std::string text;                  // a line behind the message; empty: nothing is known
  std::optional<Position> position;  // in the document
};

// Of a statement that failed, by what the library told meanwhile. Reads what is enabled; the
// statement's unit of work has been rolled back.
Refusal refusalOf(orv::Session& session, const orv::Outcome& outcome, const NoticeLog& notices);

}  // namespace orvxml::command
