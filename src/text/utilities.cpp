#include "orvxml/utilities.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace orvxml {
namespace {

// The changed text, or none out of memory.
template <class Change>
std::optional<std::string> changed(const std::optional<std::string>& text, Change&& change) {
  try {
    std::string result = text.value_or("");
    change(result);
    return result;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace

QRKString& QRKString::operator=(const QRKString& other) {
  if (this != &other) text_ = other.text_ ? changed(other.text_, [](std::string&) {}) : other.text_;
  return *this;
}

QRKString& QRKString::operator=(const char* source) {
  if (source) text_ = changed(text_, [&](std::string& text) { text = source; });
  return *this;
}

QRKString& QRKString::operator+=(const char* source) {
  if (source) text_ = changed(text_, [&](std::string& text) { text += source; });
  return *this;
}

int QRKString::find(const char* text) const {
  const size_t found = text && text_ ? text_->find(text) : std::string::npos;
  return found == std::string::npos ? -1 : static_cast<int>(found);
}

void QRKString::replace(int position, unsigned count, const char* text) {
  if (position < 0 || !text || position > getLength()) return;
  text_ = changed(text_, [&](std::string& whole) {
    whole.replace(static_cast<size_t>(position), count, text);
  });
}

int QRKList::push_back(const void* data, int size) {
  const auto bytes = static_cast<size_t>(std::max(size, 0));
  try {
    auto copy = std::make_unique<char[]>(bytes);
    if (bytes > 0) std::memcpy(copy.get(), data, bytes);
    nodes_.push_back(std::move(copy));
  } catch (const std::bad_alloc&) {
    return -1;
  }
  if (nodes_.size() == 1) cursor_ = nodes_.begin();
  return 0;
}

void* QRKList::getNext() {
  return cursor_ == nodes_.end() ? nullptr : (cursor_++)->get();
}

// A cursor beyond the end goes back to the last node.
void* QRKList::getPrev() {
  return cursor_ == nodes_.begin() ? nullptr : (--cursor_)->get();
}

void QRKList::clean() {
  nodes_.clear();
  cursor_ = nodes_.end();
}

char16_t* QRK_wcscat(char16_t* dst, const char16_t* src) {
  return dst && src ? u_strcat(dst, src) : dst;
}

char16_t* QRK_wcsncat(char16_t* dst, const char16_t* src, int n) {
  return dst && src ? u_strncat(dst, src, n) : dst;
}

const char16_t* QRK_wcschr(const char16_t* s, char16_t c) {
  return s ? u_strchr(s, c) : nullptr;
}

int QRK_wcscmp(const char16_t* a, const char16_t* b) {
  return a && b ? u_strcmp(a, b) : 0;
}

int QRK_wcsncmp(const char16_t* a, const char16_t* b, int n) {
  return a && b ? u_strncmp(a, b, n) : 0;
}

char16_t* QRK_wcscpy(char16_t* dst, const char16_t* src) {
  return dst ? u_strcpy(dst, src ? src : u"") : nullptr;
}

char16_t* QRK_wcsncpy(char16_t* dst, const char16_t* src, int n) {
  if (!src) return QRK_wcscpy(dst, src);
  return dst ? u_strncpy(dst, src, n) : nullptr;
}

int QRK_wcslen(const char16_t* s) {
  return s ? u_strlen(s) : 0;
}

const char16_t* QRK_wcsstr(const char16_t* h, const char16_t* n) {
  return h && n ? u_strstr(h, n) : nullptr;
}

char16_t* QRK_wcsdup_function(const char16_t* s) {
  if (!s) return nullptr;
  const size_t bytes = sizeof(char16_t) * (static_cast<size_t>(u_strlen(s)) + 1);
  auto* copy = static_cast<char16_t*>(std::malloc(bytes));
  if (copy) std::memcpy(copy, s, bytes);
  return copy;
}

const char16_t* linuxwcsrchr(const char16_t* s, char16_t c) {
  const char16_t* found = s ? u_strrchr(s, c) : nullptr;
  return found ? found : s;
}

}  // namespace orvxml
