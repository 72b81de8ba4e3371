#include "orvxml/notices.h"

#include "src/outcome/thread_kept.h"

namespace orvxml {
namespace {

struct Kept {
  NoticeListener* listener = nullptr;
};

Kept* ofThread() {
  static const ThreadKept<Kept> kKept;
  return kKept.get();
}

}  // namespace

NoticeListener* qrkListen(NoticeListener* listener) {
  NoticeListener* const before = noticeListener();
  if (Kept* const kept = ofThread()) kept->listener = listener;
  return before;
}

NoticeListener* noticeListener() {
  const Kept* const kept = ofThread();
  return kept ? kept->listener : nullptr;
}

}  // namespace orvxml
