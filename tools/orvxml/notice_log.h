// What the library tells beside the outcome of a call: warnings, each printed once with its place
// in front, and the place of a failure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "given_mapping.h"
#include "orvxml/notices.h"

namespace orvxml::command {

// The rule of the warning that ends enabling, so that it is kept however many there are.
inline constexpr std::string_view kUnusableSchema = "unusable-schema";

// A text in UTF-8 whose elements notices number, and how messages name it.
struct NamedText {
  std::string label;
  std::string_view text;  // empty: no places can be told
};

// Where elements of a text stand, found in one pass over it.
class Places {
 public:
  // `elements`: their numbers; none stands at 0.
  Places(const NamedText& in, const std::vector<size_t>& elements);

  // Nothing for an element that is not there or was not asked for.
  std::optional<Position> positionOf(size_t element) const;
  // "label:line:column" of an element, or the label alone.
  std::string placeOf(size_t element) const;
  const std::string& label() const { return label_; }

 private:
  std::string label_;
  std::vector<ElementPlace> places_;
};

// Where a parser's error stands, as far as the notice tells.
std::optional<Position> parserPosition(const Notice& notice);
// "line 3, column 7: text", or the text alone.
std::string placedText(const Notice& notice);

// Those of the elements that notices are about.
struct NoticePlaces {
  Places mapping, document;

  NoticePlaces(const NamedText& mapping, const NamedText& document,
               const std::vector<Notice>& notices);
};

// The same for one element, which costs a pass.
std::string placeOf(const NamedText& in, size_t element);
std::optional<Position> positionOf(const NamedText& in, size_t element);

// Listens where `Listening` says so. `mapping` is always there, `document` where the call reads
// one.
class NoticeLog final : public NoticeListener {
 public:
  void notice(const Notice& notice) override;

  // Prints the warnings as "place: warning: text [rule]" on standard error and forgets them.
  void printWarnings(const NamedText& mapping, const NamedText& document = {});
  void printWarnings(const NoticePlaces& places);
  // The first warning of the rule; null for none.
  const Notice* warning(std::string_view rule) const;
  size_t warnings() const { return warnings_.size() + unkept_; }
  // Those of them that are printed one by one.
  const std::vector<Notice>& kept() const { return warnings_; }
  // The place of the failure that the last call gave, and what its message lacks; null for none.
  const Notice* failure() const { return failure_ ? &*failure_ : nullptr; }
  // What may lie behind the failure of a statement; null for nothing.
  const Notice* reason() const { return reason_ ? &*reason_ : nullptr; }
  void forgetFailure() {
    failure_.reset();
    reason_.reset();
  }

 private:
  std::vector<Notice> warnings_;
  size_t unkept_ = 0;  // beyond those that anybody would read
  std::optional<Notice> failure_, reason_;
};

// Where a failure stands: in the document when the notice has a place there, else in the mapping,
// else `otherwise`.
std::string placeOf(const Notice* failure, const NamedText& mapping, const NamedText& document,
                    const std::string& otherwise);

}  // namespace orvxml::command
