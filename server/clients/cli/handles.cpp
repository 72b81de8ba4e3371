#include "server/clients/cli/handles.h"

#include <array>
#include <atomic>
#include <deque>
#include <mutex>

#include "server/values/sql_error.h"

namespace orv::cli {
namespace {

// A number is generation * kSlots + place, and positive. Freed places are used again in the order
// in which they were freed, so that a number comes back as late as possible.
constexpr uint32_t kSlots = 1U << 16U;
constexpr uint32_t kChunkSize = 256;
constexpr uint32_t kGenerations = 1U << 15U;

struct Slot {
  std::atomic<uint32_t> number{0};  // 0: free
  std::atomic<Handle*> handle{nullptr};
  uint32_t generation = 0;
};

using Chunk = std::array<Slot, kChunkSize>;

class HandleTable {
 public:
  SQLHANDLE add(std::unique_ptr<Handle> handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (free_.size() < kMinFree && used_ < kSlots) grow();
    if (free_.empty()) return SQL_NULL_HANDLE;
    const uint32_t place = free_.front();
    free_.pop_front();
    Slot& slot = at(place);
    slot.generation = (slot.generation + 1) % kGenerations;
    const uint32_t number = slot.generation * kSlots + place;
    handle->number = static_cast<SQLHANDLE>(number);
    slot.handle.store(handle.release(), std::memory_order_relaxed);
    slot.number.store(number, std::memory_order_release);
    return static_cast<SQLHANDLE>(number);
  }

  Handle* find(SQLHANDLE number) const {
    if (number <= 0) return nullptr;
    const auto wanted = static_cast<uint32_t>(number);
    const uint32_t place = wanted % kSlots;
    const Chunk* const chunk = chunks_[place / kChunkSize].load(std::memory_order_acquire);
    if (!chunk) return nullptr;
    const Slot& slot = (*chunk)[place % kChunkSize];
    if (slot.number.load(std::memory_order_acquire) != wanted) return nullptr;
    return slot.handle.load(std::memory_order_relaxed);
  }

  void remove(SQLHANDLE number) {
    std::unique_ptr<Handle> handle;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      Handle* const found = find(number);
      if (!found) return;
      const uint32_t place = static_cast<uint32_t>(number) % kSlots;
      free_.push_back(place);
      Slot& slot = at(place);
      slot.number.store(0, std::memory_order_release);
      slot.handle.store(nullptr, std::memory_order_relaxed);
      handle.reset(found);
    }
  }

 private:
  static constexpr size_t kMinFree = 64;

  Slot& at(uint32_t place) { return (*chunks_[place / kChunkSize])[place % kChunkSize]; }

  // Place 0 of generation 0 would be the null handle: generations begin at 1, then wrap to 0.
  void grow() {
    owned_.push_back(std::make_unique<Chunk>());
    const uint32_t first = used_ == 0 ? 1 : used_;
    chunks_[used_ / kChunkSize].store(owned_.back().get(), std::memory_order_release);
    used_ += kChunkSize;
    for (uint32_t place = first; place < used_; ++place) free_.push_back(place);
  }

  std::mutex mutex_;
  std::array<std::atomic<Chunk*>, kSlots / kChunkSize> chunks_{};
  std::vector<std::unique_ptr<Chunk>> owned_;
  std::deque<uint32_t> free_;
  uint32_t used_ = 0;
};

// Never destroyed: handles may be used while the process ends.
HandleTable& table() {
  static HandleTable* const handles = new HandleTable;
  return *handles;
}

}  // namespace

SessionState& Connection::session() const {
  Session* const session = slot ? slot->session.load(std::memory_order_acquire) : nullptr;
  if (!session) throw SqlError(-1024);
  return session->state();
}

SQLHANDLE addHandle(std::unique_ptr<Handle> handle) {
  return table().add(std::move(handle));
}
void removeHandle(SQLHANDLE number) {
  table().remove(number);
}
Handle* findHandle(SQLHANDLE number) {
  return table().find(number);
}

}  // namespace orv::cli
