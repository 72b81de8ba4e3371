// A value that keeps its own text: what outlives the row or the call that it came from.
#pragma once

#include <string>

#include "server/values/value_view.h"

namespace orv {

struct OwnedValue {
  ValueView::Kind kind = ValueView::Kind::Null;
  int64_t integer = 0;
  double number = 0;
  std::string text;

  OwnedValue() = default;
  explicit OwnedValue(const ValueView& value)
      : kind(value.kind), integer(value.integer), number(value.number), text(value.text) {}

  // Good as long as this value stays where it is.
  ValueView view() const { return {kind, integer, number, text}; }
  bool isNull() const { return kind == ValueView::Kind::Null; }
};

}  // namespace orv
