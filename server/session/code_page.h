// The code page of a database as its clients see it: text that crosses the call-level interface,
// embedded SQL or a procedure's parameters is in this code page ("native" below), everything inside
// is UTF-8. Text that does not convert is SQLCODE -191 (22504), never replaced in silence.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace orv {

class CodePage {
 public:
  // Any code page that ICU opens by its number; -332 for another one.
  explicit CodePage(int number);
  ~CodePage();
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

  int number() const { return number_; }
  bool isUtf8() const { return converter_ == nullptr; }

  // The results point into the argument when nothing changes, else into `storage`.
  std::string_view toUtf8(std::string_view native, std::string& storage) const;
  std::string_view fromUtf8(std::string_view utf8, std::string& storage) const;

  // Double-byte characters for graphic values: big-endian UTF-16 in a UTF-8 database, else the
  // two-byte codes of the code page without shift codes. -191 for a character of another width.
  std::string_view graphicToUtf8(std::string_view doubleBytes, std::string& storage) const;
  std::string_view graphicFromUtf8(std::string_view utf8, std::string& storage) const;

  // As toUtf8 for double-byte text as the call-level interface takes it: in the database code page,
  // where a stateful code page may have lost its shift codes.
  std::string_view doubleByteTextToUtf8(std::string_view native, std::string& storage) const;

  // The largest length up to `limit` at which native text can be cut without splitting a character.
  size_t cut(std::string_view native, size_t limit) const;

 private:
  struct Converter;
  int number_;
  std::unique_ptr<Converter> converter_;  // null for UTF-8
};

// Whether the bytes are well-formed UTF-8.
bool isValidUtf8(std::string_view text);

}  // namespace orv
