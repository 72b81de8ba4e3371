// The document that a function was called with, from each of the four document types, in the form
// that the library takes: a terminated text or the name of a file.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "functions/function_frame.h"
#include "orvxml/utilities.h"

namespace orvxml::functions {

using HeapText = std::unique_ptr<char, FreeMemory>;

// The address of a heap string for a call of the library that makes one.
class HeapTextResult {
 public:
  explicit HeapTextResult(HeapText& owner) : owner_(owner) {}
  ~HeapTextResult() { owner_.reset(text_); }
  HeapTextResult(const HeapTextResult&) = delete;
  HeapTextResult& operator=(const HeapTextResult&) = delete;
  operator char**() { return &text_; }

 private:
  HeapText& owner_;
  char* text_ = nullptr;
};

// A file is read as its own declaration says: it may have been made anywhere.
class FileDocument {
 public:
  using Field = char;  // the file's name
  static constexpr int kInDbEncoding = 0;

  FileDocument(FunctionCall& call, const Field* name);
  char* text() { return name_.data(); }
  int inMemory() const { return 0; }

 private:
  std::string name_;
};

class VarcharDocument {
 public:
  using Field = char;
  static constexpr int kInDbEncoding = 1;

  VarcharDocument(FunctionCall&, const Field* text) : text_(text) {}
  char* text() { return text_.data(); }
  int inMemory() const { return 1; }

 private:
  std::string text_;
};

// In memory, or beyond the context's threshold in a temporary file.
class ClobDocument {
 public:
  using Field = sqludf_locator;
  static constexpr int kInDbEncoding = 1;

  ClobDocument(FunctionCall& call, const Field* locator);
  ~ClobDocument();
  ClobDocument(const ClobDocument&) = delete;
  ClobDocument& operator=(const ClobDocument&) = delete;
  char* text() { return data_.get(); }
  int inMemory() const { return inMemory_; }

 private:
  HeapText data_;
  int inMemory_ = 1;
};

// Brought into the database code page.
class DbClobDocument {
 public:
  using Field = sqludf_locator;
  static constexpr int kInDbEncoding = 1;

  DbClobDocument(FunctionCall& call, const Field* locator);
  char* text() { return text_.data(); }
  int inMemory() const { return 1; }

 private:
  std::string text_;
};

// The whole of a DBCLOB.
std::u16string dbClobText(FunctionCall& call, const sqludf_locator* locator);

// The name of a file to be read or written: what exists under it must be a plain file, for reading
// or writing anything else may wait for ever or do harm (QRKC000E).
void requirePlainFile(FunctionCall& call, const char* name);

}  // namespace orvxml::functions
