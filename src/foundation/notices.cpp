#include "orvxml/notices.h"

#include <pthread.h>

namespace orvxml {
namespace {

// A key and no thread_local: the server loads and unloads this library while threads run.
class ListenerOfThread {
 public:
  ListenerOfThread() : isUsable_(pthread_key_create(&key_, nullptr) == 0) {}
  ~ListenerOfThread() {
    if (isUsable_) pthread_key_delete(key_);
  }
  ListenerOfThread(const ListenerOfThread&) = delete;
  ListenerOfThread& operator=(const ListenerOfThread&) = delete;

  NoticeListener* get() const {
    return isUsable_ ? static_cast<NoticeListener*>(pthread_getspecific(key_)) : nullptr;
  }
  void set(NoticeListener* listener) const {
    if (isUsable_) pthread_setspecific(key_, listener);
  }

 private:
  pthread_key_t key_{};
  const bool isUsable_;
};

const ListenerOfThread& ofThread() {
  static const ListenerOfThread kOfThread;
  return kOfThread;
}

}  // namespace

NoticeListener* qrkListen(NoticeListener* listener) {
  NoticeListener* const before = noticeListener();
  ofThread().set(listener);
  return before;
}

NoticeListener* noticeListener() {
  return ofThread().get();
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

}  // namespace orvxml
