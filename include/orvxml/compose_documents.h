// Composition for programs that take every document as it is made: no limit of a procedure's
// parameters, and one document at a time is kept.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvxml/export.h"

namespace orvxml {

// Where the documents go, each when it is complete, in UTF-8. Called during the call, on its
// thread. False ends the call with QRKC003E; what a function throws ends it as an internal error.
class DocumentReceiver {
 public:
  // The lines in front of the root element: XML declaration, doctype, stylesheet, as the mapping
  // says them, without a final line feed.
  virtual bool beginDocument(std::string_view header) = 0;
  // A part of what follows, the line feed in front of the root element included. A character may be
  // cut by the end of a part.
  virtual bool text(std::string_view part) = 0;
  // `valid`: 1 or 0, or -1 when the document was not validated.
  virtual bool endDocument(int valid) = 0;
  // A row has a value that no document can hold: QRKQ055E in `message`, its place told before. True
  // leaves its document out and goes on.
  virtual bool leaveOut(const char* message) = 0;

 protected:
  ~DocumentReceiver() = default;
};

// All texts in the database code page.
struct ComposeRequest {
  const char* dad = nullptr;  // `dadSize` bytes; null: the mapping of `collection`
  size_t dadSize = 0;
  const char* collection = nullptr;
  int overrideType = 0;  // as the procedures take it
  const char* override = nullptr;
  int maxRows = 0;         // documents at most; 0: all
  bool firstOnly = false;  // the others are counted, not received
};

struct ComposeResult {
  int code = 0;             // negative: failed; positive: a warning
  int documents = 0;        // composed; 0 after a failure
  char message[1024] = "";  // kMessageSize
};

// Composes inside the caller's unit of work and changes nothing. The documents received before a
// failure are complete; whether they count is the receiver's business. Returns the code.
extern "C" ORVXML_API int qrkComposeDocuments(const ComposeRequest& request,
                                              DocumentReceiver& receiver, ComposeResult& result);

}  // namespace orvxml
