#include "document_verifier.h"

#include <string_view>

#include "composer.h"
#include "orvxml/document_comparison.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

// Compares each document as it comes; the first difference of the last one is kept.
class Comparison final : public DocumentReceiver {
 public:
  explicit Comparison(std::string_view document) : document_(withoutDeclaration(document)) {}

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
    const int rc = qrkCompareDocuments(document_.data(), document_.size(), composed_.data(),
                                       composed_.size(), &found);
    isSame_ = rc == 0;
    difference_ = {found.element, rc < 0 ? "what the rows give does not parse" : found.text};
    return !isSame_;
  }
  bool leaveOut(const char*) override { return false; }

  bool isSame() const { return isSame_; }
  size_t count() const { return count_; }
  const Difference& difference() const { return difference_; }

 private:
  std::string document_, composed_;
  size_t count_ = 0;
  bool isSame_ = false;
  Difference difference_;
};

}  // namespace

std::optional<Difference> verifyDocument(orv::Session& session, const Mapping& mapping,
                                         const std::string& origin, const NamedText& document) {
  Override only;
  if (!origin.empty()) only = {Override::kXml, origin};
  Comparison comparison(document.text);
  // The mapping's traps have been told, and a failure here is none of the document.
  NoticeLog unheard;
  const Listening listening(unheard);
  const ComposeOutcome outcome =
      Composer(session, mapping, only).composeDocuments(comparison, false, 0);
  if (comparison.isSame()) return std::nullopt;
  if (outcome.code < 0) {
    return Difference{0, "the mapping cannot be composed: " + outcome.message};
  }
  if (comparison.count() == 0) return Difference{0, "the rows give no document"};
  return comparison.difference();
}

}  // namespace orvxml::command
