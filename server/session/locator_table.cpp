#include "server/session/locator_table.h"

#include <limits>

#include "server/values/sql_error.h"

namespace orv {
namespace {

std::shared_ptr<std::string> keep(std::string_view text, std::string& storage) {
  if (text.data() != storage.data()) return std::make_shared<std::string>(text);
  storage.resize(text.size());
  return std::make_shared<std::string>(std::move(storage));
}

// The result of a conversion as a value: `from` itself when the conversion changed nothing.
std::shared_ptr<std::string> converted(const std::shared_ptr<std::string>& from,
                                       std::string_view text, std::string& storage) {
  return text.data() == from->data() ? from : keep(text, storage);
}

std::string_view nativeText(LocatorKind kind, std::string_view utf8, const CodePage& codePage,
                            std::string& storage) {
  return kind == LocatorKind::DbClob ? codePage.graphicFromUtf8(utf8, storage)
                                     : codePage.fromUtf8(utf8, storage);
}

}  // namespace

LocatorValue::LocatorValue(LocatorKind kind)
    : kind_(kind), native_(std::make_shared<std::string>()) {}

LocatorValue::LocatorValue(LocatorKind kind, std::string utf8)
    : kind_(kind), utf8_(std::make_shared<std::string>(std::move(utf8))) {}

LocatorValue LocatorValue::borrowing(LocatorKind kind, std::string_view utf8) {
  LocatorValue value;
  value.kind_ = kind;
  value.borrowed_ = utf8;
  value.isBorrowed_ = true;
  value.isBorrowedNative_ = kind == LocatorKind::Blob;
  return value;
}

void LocatorValue::own() {
  if (!isBorrowed_) return;
  utf8_ = std::make_shared<std::string>(borrowed_);
  isBorrowed_ = false;
}

std::string_view LocatorValue::nativeView(const CodePage& codePage) {
  if (native_) return *native_;
  if (!isBorrowed_) return *native(codePage);
  if (isBorrowedNative_) return borrowed_;
  std::string storage;
  const std::string_view text = nativeText(kind_, borrowed_, codePage, storage);
  isBorrowedNative_ = text.data() == borrowed_.data();
  if (isBorrowedNative_) return borrowed_;
  native_ = keep(text, storage);
  return *native_;
}

std::string_view LocatorValue::utf8View(const CodePage& codePage) {
  return isBorrowed_ ? borrowed_ : std::string_view(*utf8(codePage));
}

LocatorValue::Bytes LocatorValue::native(const CodePage& codePage) {
  if (native_) return native_;
  own();
  if (kind_ == LocatorKind::Blob) return native_ = utf8_;
  std::string storage;
  const std::string_view text = nativeText(kind_, *utf8_, codePage, storage);
  return native_ = converted(utf8_, text, storage);
}

LocatorValue::Bytes LocatorValue::utf8(const CodePage& codePage) {
  own();
  if (utf8_) return utf8_;
  if (kind_ == LocatorKind::Blob) return utf8_ = native_;
  std::string storage;
  const std::string_view text = kind_ == LocatorKind::DbClob
                                    ? codePage.graphicToUtf8(*native_, storage)
                                    : codePage.toUtf8(*native_, storage);
  return utf8_ = converted(native_, text, storage);
}

void LocatorValue::append(std::string_view bytes, const CodePage& codePage) {
  native(codePage);
  utf8_.reset();
  isBorrowed_ = false;
  if (native_.use_count() > 1) native_ = std::make_shared<std::string>(*native_);
  native_->append(bytes);
}

int32_t LocatorTable::add(LocatorValue value) {
  if (last_ == std::numeric_limits<int32_t>::max()) throw SqlError(-429);
  ++last_;
  values_.emplace(last_, Entry{last_, std::move(value)});
  return last_;
}

LocatorTable::Entry& LocatorTable::entry(int32_t locator) {
  const auto at = values_.find(locator);
  if (at == values_.end()) throw SqlError(-423, {std::to_string(locator)});
  return at->second;
}

LocatorValue LocatorTable::take(int32_t locator) {
  LocatorValue value = std::move(find(locator));
  values_.erase(locator);
  return value;
}

void LocatorTable::free(int32_t locator) {
  entry(locator);
  values_.erase(locator);
}

}  // namespace orv
