// The owner of a locator that a statement has fetched.
#pragma once

#include "orv/esql.h"

namespace orvxml {

// A CLOB locator, freed with its owner.
class LocatorOwner {
 public:
  LocatorOwner() = default;
  ~LocatorOwner() { release(); }
  LocatorOwner(const LocatorOwner&) = delete;
  LocatorOwner& operator=(const LocatorOwner&) = delete;
  int32_t* address() { return &locator_; }
  int32_t value() const { return locator_; }
  void release() {
    if (locator_ == 0) return;
    sqlca area{};
    orv::esql::freeLocator(locator_, area);
    locator_ = 0;
  }

 private:
  int32_t locator_ = 0;
};

}  // namespace orvxml
