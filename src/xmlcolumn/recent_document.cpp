#include "src/xmlcolumn/recent_document.h"

#include <cstring>
#include <string>
#include <string_view>

#include "src/outcome/thread_kept.h"
#include "src/xmlcolumn/event_tape.h"

namespace orvxml {
namespace {

// Larger documents take their time anyway, and memory stays with the thread.
constexpr size_t kMaxTextBytes = size_t{128} * 1024;
constexpr size_t kMaxTapeBytes = 8 * kMaxTextBytes;
// A text that is read as it declares, whatever the database's code page.
constexpr int32_t kAsDeclared = -1;

// Passes on what the parser tells, and keeps it as long as it is in proportion.
class RecordingHandler : public xercesc::DefaultHandler {
 public:
  RecordingHandler(qrkSgDocHandler& handler, EventTape& tape) : handler_(handler), tape_(tape) {}

  // Whether the tape tells all.
  bool isComplete() const { return isComplete_; }

  void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name,
                    const xercesc::Attributes& attributes) override {
    if (records()) tape_.startElement(name, attributes);
    handler_.startElement(uri, localName, name, attributes);
  }
  void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* name) override {
    if (records()) tape_.endElement();
    handler_.endElement(uri, localName, name);
  }
  void characters(const XMLCh* text, XMLSize_t length) override {
    if (records()) tape_.characters(text, length);
    handler_.characters(text, length);
  }
  void ignorableWhitespace(const XMLCh* text, XMLSize_t length) override {
    if (records()) tape_.ignorableWhitespace(text, length);
    handler_.ignorableWhitespace(text, length);
  }
  void warning(const xercesc::SAXParseException& problem) override { handler_.warning(problem); }
  void error(const xercesc::SAXParseException& problem) override { handler_.error(problem); }
  void fatalError(const xercesc::SAXParseException& problem) override {
    handler_.fatalError(problem);
  }

 private:
  // Entities and defaults may blow a small text up.
  bool records() {
    if (isComplete_ && tape_.bytes() > kMaxTapeBytes) isComplete_ = false;
    return isComplete_;
  }

  qrkSgDocHandler& handler_;
  EventTape& tape_;
  bool isComplete_ = true;
};

class RecentDocument {
 public:
  void read(QrkStruct* ctx, std::string_view text, bool inDbEncoding, qrkSgDocHandler& handler) {
    const int32_t encoding =
        inDbEncoding && ctx->codePages ? ctx->codePages->dbCodePage : kAsDeclared;
    const bool isAgain = isKnown_ && encoding == encoding_ && text == text_;
    if (isAgain && isTaped_) {
      wasAskedAgain_ = true;
      tape_.replay(handler);
      return;
    }
    const bool records = isAgain || wasAskedAgain_;
    wasAskedAgain_ = isAgain;
    // What fails on the way leaves nothing known.
    isKnown_ = isTaped_ = false;
    if (!isAgain) text_ = text;
    encoding_ = encoding;
    parse(ctx, text, inDbEncoding, handler, records);
    isKnown_ = true;
  }

 private:
  void parse(QrkStruct* ctx, std::string_view text, bool inDbEncoding, qrkSgDocHandler& handler,
             bool records) {
    DocumentSource source = openDocument(ctx, text.data(), true);
    if (!records) return readDocument(ctx, source, inDbEncoding, handler, nullptr);
    tape_.clear();
    RecordingHandler recording(handler, tape_);
    readDocument(ctx, source, inDbEncoding, recording, nullptr);
    isTaped_ = recording.isComplete();
  }

  std::string text_;
  int32_t encoding_ = kAsDeclared;
  bool isKnown_ = false;        // text_ parses
  bool isTaped_ = false;        // tape_ tells of it
  bool wasAskedAgain_ = false;  // text_ was
  EventTape tape_;
};

}  // namespace

void readDocumentOnce(QrkStruct* ctx, const char* text, bool inDbEncoding,
                      qrkSgDocHandler& handler) {
  static const ThreadKept<RecentDocument> kKept;
  const std::string_view document(text);
  RecentDocument* const recent = document.size() <= kMaxTextBytes ? kKept.get() : nullptr;
  if (recent) return recent->read(ctx, document, inDbEncoding, handler);
  DocumentSource source = openDocument(ctx, text, true);
  readDocument(ctx, source, inDbEncoding, handler, nullptr);
}

}  // namespace orvxml
