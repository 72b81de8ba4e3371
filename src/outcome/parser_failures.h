// How every failure of the parser is reported: as QRKQ047E with the place as far as it is known,
// and under one SQLSTATE, whatever the message's own.
#pragma once

#include <cstring>
#include <string>
#include <type_traits>

#include "orvxml/context.h"
#include "orvxml/notices.h"

namespace orvxml {

inline constexpr char kParserState[] = "38X13";

inline void setSqlState(const Report& report, const char* state) {
  if (report.sqlState) std::memcpy(report.sqlState, state, kSqlStateSize);
}

// Tells the error to the listener in full: the message of a function's call is cut, and that of a
// document which is found not to be valid is lost.
void tellParserError(QrkStruct* ctx, const std::string& line, const std::string& column,
                     const std::string& text);

// Reports line, column and text of a parser's error.
template <class Line, class Column, class Text>
void reportParserError(const Report& report, const Line& line, const Column& column,
                       const Text& text) {
  fail(report, Msg::QRKQ047E, line, column, text);
  setSqlState(report, kParserState);
  if (!noticeListener()) return;
  const auto shown = [](const auto& value) {
    if constexpr (std::is_arithmetic_v<std::remove_cvref_t<decltype(value)>>) {
      return std::to_string(value);
    } else {
      return std::string(value);
    }
  };
  tellParserError(report.ctx, shown(line), shown(column), shown(text));
}

// Inside a handler: reports the exception that is handled when it is one of the parser's own. False
// for every other one, which is the caller's to report.
bool reportParserException(const Report& report);

}  // namespace orvxml
