// Comparison of a document with what was composed from its rows. Two documents are the same when
// their root elements are: of one name, with the same attributes and text, and with the same
// children in whatever order (the mapping's orderBy decides it when documents are composed). What
// rows cannot tell apart counts as the same: an absent attribute and an empty one, an element that
// holds nothing and none at all, numbers that differ in the zeros that end their fraction. White
// space alone does not count, nor do comments, instructions, declarations of name spaces and xsi:
// attributes.
#pragma once

#include <cstddef>

#include "orvxml/export.h"

namespace orvxml {

struct DocumentDifference {
  size_t element = 0;   // number of the element in the document that lacks or has something
  char text[512] = "";  // one line in UTF-8
};

enum ComparisonResult : int {
  kSameDocument = 0,
  kOtherDocument = 1,
  kNoDocument = -1,  // what was to be read does not parse
  kNoMemoryToCompare = -2,
};

// A document that was read to be compared with others.
struct ComparedDocument;

// Reads `size` bytes in the encoding that they declare. 0, and `*read` is the caller's to free; or
// one of the negative results, and `*read` is null.
extern "C" ORVXML_API ComparisonResult qrkReadForComparison(const char* document, size_t size,
                                                            ComparedDocument** read);
// Compares with a text of `size` bytes, which is read in the same way: with kOtherDocument
// `difference` has the first difference, a negative result is about the text.
extern "C" ORVXML_API ComparisonResult qrkCompareDocument(const ComparedDocument* document,
                                                          const char* composed, size_t size,
                                                          DocumentDifference* difference);
// Null is nothing to free.
extern "C" ORVXML_API void qrkFreeComparedDocument(ComparedDocument* document);

struct FreeComparedDocument {
  void operator()(ComparedDocument* document) const { qrkFreeComparedDocument(document); }
};

}  // namespace orvxml
