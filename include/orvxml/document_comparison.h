// Comparison of a document with what was composed from its rows. Two documents are the same when
// their root elements are: of one name, with the same attributes and text, and with the same
// children in whatever order (the mapping's orderBy decides it when documents are composed). What
// rows cannot tell apart counts as the same: an absent attribute and an empty one, an element that
// holds nothing and none at all, numbers that differ in the zeros that end their fraction. White
// space counts only in an element without child elements; comments, instructions and declarations
// of namespaces do not count.
#pragma once

#include <cstddef>

#include "orvxml/export.h"

namespace orvxml {

struct DocumentDifference {
  size_t element = 0;   // number of the element in the document that lacks or has something
  char text[512] = "";  // one line in UTF-8
};

// Both texts in the encoding that they declare, sizes in bytes. 0: the same; 1: not, and
// `difference` has the first one; -1: one of them does not parse.
extern "C" ORVXML_API int qrkCompareDocuments(const char* document, size_t documentSize,
                                              const char* composed, size_t composedSize,
                                              DocumentDifference* difference);

}  // namespace orvxml
