// What all parts of one walk over a document share.
#pragma once

#include <cstdint>

#include "src/decompose/data_watch.h"
#include "src/decompose/document_names.h"
#include "src/decompose/first_descendants.h"

namespace orvxml {

struct WalkState {
  QrkStruct* ctx;
  rel* relinfo;
  DocumentOwner owner;  // keeps the document
  DocumentNames names;
  FirstDescendants descendants;
  DataWatch* watch = nullptr;   // null: nobody listens
  uint64_t joinAttributes = 0;  // added to the document so far
};

}  // namespace orvxml
