// A library context without a server behind it, for what needs no database: texts of the caller are
// UTF-8, and messages have their full length.
#pragma once

#include <optional>
#include <utility>

#include "notice_log.h"
#include "orvxml/context.h"

namespace orvxml::command {

class LocalContext final : public NoticeListener {
 public:
  LocalContext();  // throws Failure
  ~LocalContext();
  LocalContext(const LocalContext&) = delete;
  LocalContext& operator=(const LocalContext&) = delete;
  QrkStruct* get() { return &context_; }

  // A call of the library, with sqlState and message as the places of its outcome.
  template <class Work>
  auto call(Work&& work) {
    *message = 0;
    failure_.reset();
    before_ = qrkListen(this);
    const auto result = std::forward<Work>(work)();
    qrkListen(before_);
    return result;
  }
  // Of the last call; null for none.
  const Notice* failure() const { return failure_ ? &*failure_ : nullptr; }
  void notice(const Notice& notice) override;  // passes it on

  char sqlState[kSqlStateSize] = "";
  char message[kMessageSize] = "";

 private:
  QrkStruct context_{};
  NoticeListener* before_ = nullptr;
  std::optional<Notice> failure_;
};

}  // namespace orvxml::command
