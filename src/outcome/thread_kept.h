// An object that each thread keeps from call to call: made when it is first asked for, gone with
// the thread. A thread_local object that has a destructor will not do, because the process ends
// when there is no memory to note it.
#pragma once

#include <pthread.h>

#include <memory>
#include <new>
#include <type_traits>

namespace orvxml {

template <class T>
class ThreadKept {
 public:
  ThreadKept() : isUsable_(pthread_key_create(&key_, &end) == 0) {}
  // What threads still keep then is not released.
  ~ThreadKept() {
    if (isUsable_) pthread_key_delete(key_);
  }
  ThreadKept(const ThreadKept&) = delete;
  ThreadKept& operator=(const ThreadKept&) = delete;

  // The calling thread's. Null when memory is wanting.
  T* get() const {
    static_assert(std::is_nothrow_default_constructible_v<T>);
    if (!isUsable_) return nullptr;
    if (void* kept = pthread_getspecific(key_)) return static_cast<T*>(kept);
    std::unique_ptr<T> made(new (std::nothrow) T);
    if (!made || pthread_setspecific(key_, made.get()) != 0) return nullptr;
    return made.release();
  }

 private:
  static void end(void* kept) { delete static_cast<T*>(kept); }

  pthread_key_t key_{};
  const bool isUsable_;
};

}  // namespace orvxml
