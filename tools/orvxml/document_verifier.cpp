#include "document_verifier.h"

#include <memory>
#include <new>
#include <string_view>

#include "composer.h"
#include "orvxml/document_comparison.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// Compares each document as it comes; the first difference of the last one is kept.
class Comparison final : public DocumentReceiver {
 public:
  // Reads the document once, however many are compared with it.
  explicit Comparison(std::string_view document) {
    const std::string text = withoutDeclaration(document);
    ComparedDocument* read = nullptr;
    result_ = qrkReadForComparison(text.data(), text.size(), &read);
    document_.reset(read);
  }

  bool beginDocument(std::string_view) override {
    composed_.clear();
    return true;
  }
  bool text(std::string_view part) override {
    composed_ += part;
    return true;
  }
  bool endDocument(int) override {
    ++count_;
    DocumentDifference found;
    result_ = qrkCompareDocument(document_.get(), composed_.data(), composed_.size(), &found);
    difference_ = {found.element, found.text};
    return result_ == kOtherDocument || result_ == kNoDocument;
  }
  bool leaveOut(const char*) override { return false; }

  // Of the last document, or of reading the one that it is compared with while there was none.
  ComparisonResult result() const { return result_; }
  bool isSame() const { return count_ > 0 && result_ == kSameDocument; }
  size_t count() const { return count_; }
  Difference difference() const {
    return result_ == kNoDocument ? Difference{0, "what the rows give does not parse"}
                                  : difference_;
  }

 private:
  std::unique_ptr<ComparedDocument, FreeComparedDocument> document_;
  std::string composed_;
  size_t count_ = 0;
  ComparisonResult result_;
  Difference difference_;
};

}  // namespace

std::optional<Difference> verifyDocument(orv::Session& session, const Mapping& mapping,
                                         const std::string& origin, const NamedText& document) {
  Override only;
  if (!origin.empty()) only = {Override::kXml, origin};
  Comparison comparison(document.text);
  if (comparison.result() == kNoMemoryToCompare) throw std::bad_alloc();
  if (comparison.result() == kNoDocument) {
    return Difference{0, "the document cannot be read again"};
  }
  // The mapping's traps have been told, and a failure here is none of the document.
  NoticeLog unheard;
  const Listening listening(unheard);
  const ComposeOutcome outcome =
      Composer(session, mapping, only).composeDocuments(comparison, false, 0);
  if (comparison.isSame()) return std::nullopt;
  if (comparison.result() == kNoMemoryToCompare) throw std::bad_alloc();
  if (outcome.code < 0) {
    return Difference{0, "the mapping cannot be composed: " + outcome.message};
  }
  if (comparison.count() == 0) {
    return Difference{0, "the rows give no document" + (origin.empty() ? "" : " with " + origin)};
  }
  // Which of several was meant to be the same is not known, nor then what differs.
  if (comparison.count() > 1) {
    return Difference{0, "none of the " + std::to_string(comparison.count()) +
                             " documents that the rows give is the same"};
  }
  return comparison.difference();
}

}  // namespace orvxml::command
