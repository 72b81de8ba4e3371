// How every failure of the parser is reported: as QRKQ047E with the place as far as it is known,
// and under one SQLSTATE, whatever the message's own.
#pragma once

#include <cstring>

#include "orvxml/context.h"

namespace orvxml {

inline constexpr char kParserState[] = "38X13";

inline void setSqlState(const Report& report, const char* state) {
  if (report.sqlState) std::memcpy(report.sqlState, state, kSqlStateSize);
}

// Reports line, column and text of a parser's error.
template <class Line, class Column, class Text>
void reportParserError(const Report& report, const Line& line, const Column& column,
                       const Text& text) {
  fail(report, Msg::QRKQ047E, line, column, text);
  setSqlState(report, kParserState);
}

// Inside a handler: reports the exception that is handled when it is one of the parser's own. False
// for every other one, which is the caller's to report.
bool reportParserException(const Report& report);

}  // namespace orvxml
