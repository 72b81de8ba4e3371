// For a function inside that still has a signature of the interface: what it reports is thrown.
//
//   Reported said(ctx);
//   said.require(qrkBufAppend(ctx, buf, text));
#pragma once

#include "src/outcome/failure.h"

namespace orvxml {

struct Reported {
  explicit Reported(QrkStruct* context) : ctx(context) {}

  // Throws what was reported unless `result` is 0. `result` is the code where none was stored.
  void require(int result) {
    if (result == 0) return;
    throw Failure::said(code != 0 ? code : result, msg).withState(sqlState);
  }

  QrkStruct* ctx;
  char msg[kMessageSize] = "";
  int code = 0;
  char sqlState[kSqlStateSize] = "";
};

}  // namespace orvxml
