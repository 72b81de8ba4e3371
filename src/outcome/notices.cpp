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

void tellMappingPlace(size_t element) {
  NoticeListener* const listener = noticeListener();
  if (!listener || element == 0) return;
  Notice notice;
  notice.kind = Notice::kPlace;
  notice.rule = "mapping";
  notice.mappingElement = element;
  listener->notice(notice);
}

void tellReason(const char* rule, const std::string& text) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  Notice notice;
  notice.kind = Notice::kReason;
  notice.rule = rule;
  notice.text = text;
  listener->notice(notice);
}

void PlaceKeeper::notice(const Notice& notice) {
  if (notice.kind == Notice::kPlace) {
    place_ = notice;
  } else if (before_) {
    before_->notice(notice);
  }
}

void PlaceKeeper::passOn() const {
  if (before_ && place_.kind == Notice::kPlace) before_->notice(place_);
}

}  // namespace orvxml
