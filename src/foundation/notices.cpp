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

}  // namespace orvxml
