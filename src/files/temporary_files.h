// Creation of temporary files.
#pragma once

#include <cstdio>

#include "orvxml/context.h"

namespace orvxml {

struct TemporaryFile {
  char* name = nullptr;    // heap string, the caller's to free; null: no name was to be had
  FILE* stream = nullptr;  // null: the file could not be made; `name` is null then, too
};

// Makes a new empty file, which only its owner can read, and opens it with `mode` ("wb+" or "a+").
// `nameless` tells the two failures apart.
TemporaryFile createTemporaryFile(QrkStruct* ctx, const char* mode, bool& nameless);

}  // namespace orvxml
