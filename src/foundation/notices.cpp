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

void tellReason(const char* rule, const std::string& text) {
  if (listenerOfThread)
    listenerOfThread->notice({.kind = Notice::kReason, .rule = rule, .text = text});
}

}  // namespace orvxml
