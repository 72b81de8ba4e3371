// A named file that is written from its beginning and either becomes complete or disappears.
#pragma once

#include <cstdio>
#include <string_view>

#include "orvxml/context.h"

namespace orvxml {

class NewFile {
 public:
  explicit NewFile(QrkStruct* ctx) : ctx_(ctx) {}
  ~NewFile() { discard(); }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  // Makes the file, or empties the one that is there. `name` must live as long as this. False also
  // for what would keep a writer waiting or is no place for documents: pipes, block devices.
  bool create(const char* name);
  // Takes a stream that is open for writing already.
  void adopt(const char* name, FILE* stream);
  // Bytes written: fewer than `size` is a failure.
  size_t write(const char* data, size_t size);
  // Everything has been written: closes the file and makes it readable for all.
  bool finish();

 private:
  void discard();

  QrkStruct* ctx_;
  const char* name_ = nullptr;
  FILE* stream_ = nullptr;
  bool isRegular_ = false;  // nothing else is removed, or changes its mode
};

// Makes the file of this name with this text. QRKC000E when it cannot be made, QRKC003E when it
// cannot be written.
void writeNewFile(QrkStruct* ctx, const char* name, std::string_view text);

}  // namespace orvxml
