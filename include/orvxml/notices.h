// What the library notices and an outcome cannot say: traps in a mapping that make rows or
// documents other than meant, what a document holds that the mapping does not take, and the place
// of a failure. The procedures keep their messages to the letter; a program that wants to know more
// (the command does) listens for the time of a call. Without a listener no trap is looked for.
//
// A place is the number of an element in its text, counted by start tags from 1 for the root: it
// costs nothing while all is well, and qrkElementPlaces turns it into line and column when somebody
// asks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orvxml/export.h"

namespace orvxml {

// What a failure is of.
enum class FailureKind {
  kUnknown,
  kMapping,   // the mapping is wrong
  kDocument,  // the document is wrong
  kDatabase,  // a statement of the server failed, or what it should find is not there
  kSize,      // a limit of the library was met
  kSystem,    // memory, files, the settings of the process, or the library itself
};

// The text that a failure is about, whatever its kind.
enum class FailureText { kNone, kMapping, kDocument };

// Where a failure is, as far as it is known.
struct FailurePlace {
  FailureText text = FailureText::kNone;
  size_t mappingElement = 0;   // number of the element in the mapping; 0: not known
  size_t documentElement = 0;  // the same in the document
  std::string lacks;           // what the message does not say, a line in UTF-8
  std::string file;            // the schema or DTD that line and column count in, or that is missing
  uint64_t line = 0;           // of a parser's error, from 1; 0: not known
  uint64_t column = 0;
};

struct Notice {
  enum Kind {
    // The call goes on and its result may not be what is meant; with the rule "memory" it fails.
    kWarning,
    kPlace,   // of the failure whose message the call gives; at most one a call is of use: the last
    kOrigin,  // of the decomposed document: the override that composes it again from its rows
    // What may lie behind a failure of the statement that called: the last one counts. The rule is
    // "parser" for the message of a parser's error, whole where the call's own is cut or lost, and
    // "value" for the location path whose values are about to be taken out of a document.
    kReason,
  };
  Kind kind = kWarning;
  // A literal: the warning's name, like "join-of-equal-depth"; of a place what the failure is
  // about, "mapping" or "document", or empty where the element's number tells.
  const char* rule = "";
  std::string text;            // one line in UTF-8; of a place: what the message lacks, or empty
  size_t mappingElement = 0;   // number of the element in the mapping; 0: none
  size_t documentElement = 0;  // the same in the document
  // Of a place: the schema or DTD that the message's line and column count in, or that is missing;
  // empty: none.
  std::string file;
  FailureKind failure = FailureKind::kUnknown;
  FailurePlace place;
};

class NoticeListener {
 public:
  // Called during the call, on its thread. The listener keeps no more than it wants: a trap in the
  // data may be met a million times. What it throws ends the call as an internal error.
  virtual void notice(const Notice& notice) = 0;

 protected:
  ~NoticeListener() = default;
};

// Makes `listener` the one that the calls of this thread tell, null for none. Returns the one
// before.
extern "C" ORVXML_API NoticeListener* qrkListen(NoticeListener* listener);

// The listener of this thread's calls, or null.
NoticeListener* noticeListener();

// Tells a reason, where there is a listener.
void tellReason(const char* rule, const std::string& text);

// Listens as long as it lives.
class Listening {
 public:
  explicit Listening(NoticeListener& listener) : before_(qrkListen(&listener)) {}
  ~Listening() { qrkListen(before_); }
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;

 private:
  NoticeListener* before_;
};

struct ElementPlace {
  size_t element = 0;   // in: the element's number
  uint64_t line = 0;    // out: of the end of its start tag, from 1; 0 when there is no such element
  uint64_t column = 0;  // out: in characters, from 1
};

// Finds the places of `count` elements in the document of `size` bytes, in the encoding that it
// declares. 0, or -1 when it does not parse so far: the places found until then are filled.
extern "C" ORVXML_API int qrkElementPlaces(const char* document, size_t size, ElementPlace* places,
                                           size_t count);

}  // namespace orvxml
