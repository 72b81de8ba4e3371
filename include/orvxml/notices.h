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

struct Notice {
  enum Kind {
    // The call goes on and its result may not be what is meant; with the rule "memory" it fails.
    kWarning,
    kFailure,  // of a call: the last one is that whose message it gives
    kOrigin,   // of the decomposed document: the override that composes it again from its rows
    // What may lie behind a failure of the statement that called: the last one counts. The rule is
    // "parser" for a parser's error, whole where the call's message is cut or lost, and "value" for
    // the location path whose values are about to be taken out of a document.
    kReason,
  };
  Kind kind = kWarning;
  const char* rule = "";  // a literal: the warning's name, like "join-of-equal-depth"
  // One line in UTF-8; of a failure: what its message lacks, or empty.
  std::string text;
  size_t mappingElement = 0;   // number of the element in the mapping; 0: none
  size_t documentElement = 0;  // the same in the document
  // The schema or DTD that line and column count in, or that is missing; empty: none.
  std::string file;
  uint64_t line = 0;  // of a parser's error, from 1; 0: not known
  uint64_t column = 0;
  FailureKind failure = FailureKind::kUnknown;
  FailureText about = FailureText::kNone;
  // Of a failed statement of the server: its SQLCODE and, where they stand at the end of the
  // message or not at all, the server's words, which are in the database code page.
  int sqlcode = 0;
  std::string serverWords;
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
