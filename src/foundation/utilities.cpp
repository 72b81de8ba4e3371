#include "orvxml/utilities.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace orvxml {
namespace {

constexpr size_t kMaxLength = INT32_MAX - 1;

// The pieces in a row as one heap string of `length` characters; null out of memory.
char* joined(std::string_view a, std::string_view b, std::string_view c) {
  const size_t length = a.size() + b.size() + c.size();
  auto* text = length <= kMaxLength ? static_cast<char*>(std::malloc(length + 1)) : nullptr;
  if (!text) return nullptr;
  size_t at = 0;
  for (std::string_view piece : {a, b, c}) at += piece.copy(text + at, piece.size());
  text[at] = 0;
  return text;
}

}  // namespace

QRKString::QRKString(const char* source) {
  *this = source;
}

QRKString::QRKString(const QRKString& other) {
  *this = other.text_;
}

QRKString& QRKString::operator=(const QRKString& other) {
  if (this != &other) adopt(other.text_ ? joined(other.text_, "", "") : nullptr);
  return *this;
}

QRKString::~QRKString() {
  std::free(text_);
}

void QRKString::adopt(char* text) {
  std::free(text_);
  text_ = text;
  length_ = text ? static_cast<int>(std::strlen(text)) : 0;
}

QRKString& QRKString::operator=(const char* source) {
  if (source) adopt(joined(source, "", ""));
  return *this;
}

QRKString& QRKString::operator+=(const char* source) {
  if (source) adopt(joined(text_ ? text_ : "", source, ""));
  return *this;
}

int QRKString::find(const char* text) const {
  const char* found = text && text_ ? std::strstr(text_, text) : nullptr;
  return found ? static_cast<int>(found - text_) : -1;
}

void QRKString::replace(int position, unsigned count, const char* text) {
  if (position < 0 || !text || position > length_) return;
  const std::string_view whole(text_ ? text_ : "", static_cast<size_t>(length_));
  const auto start = static_cast<size_t>(position);
  const std::string_view tail = whole.substr(std::min(whole.size(), start + count));
  adopt(joined(whole.substr(0, start), text, tail));
}

struct QRKList::Node {
  Node* next;
  Node* prev;
  void* data;
};

int QRKList::push_back(const void* data, int size) {
  const size_t bytes = size > 0 ? static_cast<size_t>(size) : 0;
  auto* node = static_cast<Node*>(std::malloc(sizeof(Node)));
  void* copy = node ? std::malloc(bytes > 0 ? bytes : 1) : nullptr;
  if (!copy) {
    std::free(node);
    return -1;
  }
  if (bytes > 0) std::memcpy(copy, data, bytes);
  *node = {nullptr, tail_, copy};
  (tail_ ? tail_->next : head_) = node;
  if (!cursor_ && count_ == 0) cursor_ = node;
  tail_ = node;
  ++count_;
  return 0;
}

void* QRKList::getNext() {
  if (!cursor_) return nullptr;
  return std::exchange(cursor_, cursor_->next)->data;
}

// A cursor beyond the end goes back to the last node.
void* QRKList::getPrev() {
  Node* previous = cursor_ ? cursor_->prev : tail_;
  if (!previous) return nullptr;
  cursor_ = previous;
  return previous->data;
}

void QRKList::clean() {
  while (head_) {
    Node* node = std::exchange(head_, head_->next);
    std::free(node->data);
    std::free(node);
  }
  tail_ = nullptr;
  cursor_ = nullptr;
  count_ = 0;
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
