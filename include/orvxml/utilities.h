// Small shared utilities: the owner of heap blocks, the string class, the list class and the UTF-16
// string functions that accept null pointers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "orvxml/context.h"

namespace orvxml {

// For what the interface hands over with malloc.
struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

inline bool isEmpty(const char* text) {
  return !text || !*text;
}

// Whether anything but NULs follows the first NUL.
inline bool hasTextAfterNul(const char* data, size_t length) {
  const auto* nul = static_cast<const char*>(std::memchr(data, 0, length));
  return nul && std::any_of(nul, data + length, [](char c) { return c != 0; });
}

// QRKString and QRKList are of the interface; nothing in the library uses them.
//
// A string that may be null. After a failed allocation it is empty.
class QRKString {
 public:
  QRKString() = default;
  explicit QRKString(const char* source) { *this = source; }
  QRKString(const QRKString& other) { *this = other; }
  QRKString& operator=(const QRKString& other);
  ~QRKString() = default;
  QRKString& operator=(const char* source);   // null: unchanged
  QRKString& operator+=(const char* source);  // null: nothing
  int find(const char* text) const;           // position of the first occurrence, or -1
  // Replaces `count` characters at `position`; negative position or null text: unchanged.
  void replace(int position, unsigned count, const char* text);
  const char* c_str() const { return text_ ? text_->c_str() : nullptr; }
  int getLength() const { return text_ ? static_cast<int>(text_->size()) : 0; }
  bool isNull() const { return !text_; }

 private:
  std::optional<std::string> text_;
};

// A list of copies of byte blocks.
class QRKList {
 public:
  QRKList() = default;
  QRKList(const QRKList&) = delete;
  QRKList& operator=(const QRKList&) = delete;
  ~QRKList() = default;
  int push_back(const void* data, int size);  // 0, or -1 out of memory
  void* getNext();                            // cursor's data, then forward; null at the end
  void* getPrev();                            // back, then that node's data; null at the head
  int32_t getCount() const { return static_cast<int32_t>(nodes_.size()); }
  void clean();

 private:
  using Nodes = std::list<std::unique_ptr<char[]>>;
  Nodes nodes_;
  Nodes::iterator cursor_ = nodes_.end();
};

// Null arguments: see each. n counts units. The library itself needs QRK_wcscmp and
// QRK_wcsdup_function; the others are of the interface.
char16_t* QRK_wcscat(char16_t* dst, const char16_t* src);
char16_t* QRK_wcsncat(char16_t* dst, const char16_t* src, int n);
const char16_t* QRK_wcschr(const char16_t* s, char16_t c);
int QRK_wcscmp(const char16_t* a, const char16_t* b);          // null: 0
int QRK_wcsncmp(const char16_t* a, const char16_t* b, int n);  // null: 0
char16_t* QRK_wcscpy(char16_t* dst, const char16_t* src);      // null src: dst becomes empty
char16_t* QRK_wcsncpy(char16_t* dst, const char16_t* src, int n);
int QRK_wcslen(const char16_t* s);  // null: 0
const char16_t* QRK_wcsstr(const char16_t* h, const char16_t* n);
char16_t* QRK_wcsdup_function(const char16_t* s);  // freed with free()
// Last occurrence of c; the start of `s` when there is none.
const char16_t* linuxwcsrchr(const char16_t* s, char16_t c);

}  // namespace orvxml
