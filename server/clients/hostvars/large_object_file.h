// Large objects that live in files of the server: what a file reference means.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "orv/sqlda.h"

namespace orv {

struct FileBytes {
  std::unique_ptr<char[]> data;
  size_t size = 0;
  std::string_view view() const { return {data.get(), size}; }
};

// The bytes of the file that a reference with kFileRead names. -452 when the name is malformed (a
// NUL, empty, or longer than its field), or the file is no regular file or cannot be read.
FileBytes readLargeObjectFile(const SqlFileReference& reference);

// Whether such a file certainly does not fit `limit` bytes: something else than blanks follows
// them.
bool reachesBeyond(const SqlFileReference& reference, int64_t limit);

// Writes the bytes as the reference's option says: a new file only (kFileCreate), replacing
// (kFileOverwrite) or at the end (kFileAppend), and sets `data_length`. A file made here is
// readable by its owner only. -452 as above; -968 when the file system is full.
void writeLargeObjectFile(SqlFileReference& reference, std::string_view bytes);

}  // namespace orv
