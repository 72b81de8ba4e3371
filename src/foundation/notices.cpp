#include "orvxml/notices.h"

namespace orvxml {
namespace {

thread_local NoticeListener* listenerOfThread = nullptr;

}  // namespace

NoticeListener* qrkListen(NoticeListener* listener) {
  NoticeListener* const before = listenerOfThread;
  listenerOfThread = listener;
  return before;
}

NoticeListener* noticeListener() {
  return listenerOfThread;
}

void tellMappingPlace(size_t element) {
  if (!listenerOfThread || element == 0) return;
  Notice notice;
  notice.kind = Notice::kPlace;
  notice.rule = "mapping";
  notice.mappingElement = element;
  listenerOfThread->notice(notice);
}

void tellReason(const char* rule, const std::string& text) {
  if (!listenerOfThread) return;
  Notice notice;
  notice.kind = Notice::kReason;
  notice.rule = rule;
  notice.text = text;
  listenerOfThread->notice(notice);
}

}  // namespace orvxml
