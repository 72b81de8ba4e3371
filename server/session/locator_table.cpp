#include "server/session/locator_table.h"

#include <limits>

#include "server/sql/sql_error.h"

namespace orv {
namespace {

// The result of a conversion as a value: `from` itself when the conversion changed nothing.
std::shared_ptr<std::string> converted(const std::shared_ptr<std::string>& from,
                                       std::string_view text, std::string& storage) {
  if (text.data() == from->data()) return from;
  if (text.data() == storage.data())
    storage.resize(text.size());
  else
    storage = std::string(text);
  return std::make_shared<std::string>(std::move(storage));
}

}  // namespace

LocatorValue::LocatorValue(LocatorKind kind)
    : kind_(kind), native_(std::make_shared<std::string>()) {}

LocatorValue::LocatorValue(LocatorKind kind, std::string utf8)
    : kind_(kind), utf8_(std::make_shared<std::string>(std::move(utf8))) {}

LocatorValue::Bytes LocatorValue::native(const CodePage& codePage) {
  if (native_) return native_;
  if (kind_ == LocatorKind::Blob) return native_ = utf8_;
  std::string storage;
  const std::string_view text = kind_ == LocatorKind::DbClob
                                    ? codePage.graphicFromUtf8(*utf8_, storage)
                                    : codePage.fromUtf8(*utf8_, storage);
  return native_ = converted(utf8_, text, storage);
}

LocatorValue::Bytes LocatorValue::utf8(const CodePage& codePage) {
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

void LocatorTable::free(int32_t locator) {
  entry(locator);
  values_.erase(locator);
}

}  // namespace orv
