#include "notice_log.h"

#include <algorithm>

#include "console.h"
#include "text_encoding.h"

namespace orvxml::command {

namespace {

constexpr size_t kKept = 100;

bool isSame(const Notice& a, const Notice& b) {
  return a.mappingElement == b.mappingElement && a.documentElement == b.documentElement &&
         std::string_view(a.rule) == b.rule && a.text == b.text;
}

std::vector<size_t> elementsOf(const std::vector<Notice>& notices, size_t Notice::*element) {
  std::vector<size_t> elements;
  elements.reserve(notices.size());
  for (const Notice& notice : notices) elements.push_back(notice.*element);
  return elements;
}

// Where the text that a warning is about stands.
std::string placeOf(const Notice& warning, const NoticePlaces& places) {
  if (!warning.file.empty()) {
    const std::optional<Position> position = parserPosition(warning);
    return position ? located(warning.file, *position) : warning.file;
  }
  if (warning.documentElement) return places.document.placeOf(warning.documentElement);
  return places.mapping.placeOf(warning.mappingElement);
}

}  // namespace

std::optional<Position> parserPosition(const Notice& notice) {
  if (notice.line == 0 || notice.column == 0) return std::nullopt;
  return Position{std::to_string(notice.line), std::to_string(notice.column)};
}

std::string placedText(const Notice& notice) {
  const std::optional<Position> position = parserPosition(notice);
  if (!position) return notice.text;
  return "line " + position->line + ", column " + position->column + ": " + notice.text;
}

Places::Places(const NamedText& in, const std::vector<size_t>& elements) : label_(in.label) {
  for (const size_t element : elements) {
    if (element != 0) places_.push_back({.element = element});
  }
  if (places_.empty() || in.text.empty()) return;
  const std::string text = withoutDeclaration(in.text);
  qrkElementPlaces(text.data(), text.size(), places_.data(), places_.size());
}

std::optional<Position> Places::positionOf(size_t element) const {
  const auto place = std::ranges::find(places_, element, &ElementPlace::element);
  if (place == places_.end() || place->line == 0) return std::nullopt;
  return Position{std::to_string(place->line), std::to_string(place->column)};
}

std::string Places::placeOf(size_t element) const {
  const std::optional<Position> position = positionOf(element);
  return position ? located(label_, *position) : label_;
}

NoticePlaces::NoticePlaces(const NamedText& inMapping, const NamedText& inDocument,
                           const std::vector<Notice>& notices)
    : mapping(inMapping, elementsOf(notices, &Notice::mappingElement)),
      document(inDocument, elementsOf(notices, &Notice::documentElement)) {}

std::optional<Position> positionOf(const NamedText& in, size_t element) {
  return Places(in, {element}).positionOf(element);
}

std::string placeOf(const NamedText& in, size_t element) {
  return Places(in, {element}).placeOf(element);
}

std::string placeOf(const Notice* failure, const NamedText& mapping, const NamedText& document,
                    const std::string& otherwise) {
  if (failure && !failure->file.empty()) return failure->file;
  if (failure && failure->documentElement) return placeOf(document, failure->documentElement);
  if (failure && failure->mappingElement) return placeOf(mapping, failure->mappingElement);
  return otherwise;
}

void NoticeLog::notice(const Notice& notice) {
  if (notice.kind == Notice::kFailure) {
    failure_ = notice;
    return;
  }
  if (notice.kind == Notice::kReason) {
    reason_ = notice;
    return;
  }
  const bool known = std::any_of(warnings_.begin(), warnings_.end(),
                                 [&](const Notice& kept) { return isSame(kept, notice); });
  if (known) return;
  if (warnings_.size() >= kKept && std::string_view(notice.rule) != kUnusableSchema) {
    ++unkept_;
    return;
  }
  warnings_.push_back(notice);
}

const Notice* NoticeLog::warning(std::string_view rule) const {
  const auto found = std::ranges::find(warnings_, rule, &Notice::rule);
  return found == warnings_.end() ? nullptr : &*found;
}

void NoticeLog::printWarnings(const NamedText& mapping, const NamedText& document) {
  printWarnings(NoticePlaces(mapping, document, warnings_));
}

void NoticeLog::printWarnings(const NoticePlaces& places) {
  for (const Notice& notice : warnings_) {
    std::string text = "warning: " + notice.text;
    if (notice.documentElement && notice.mappingElement) {
      text += " (" + places.mapping.placeOf(notice.mappingElement) + ')';
    }
    if (*notice.rule) text.append(" [").append(notice.rule).append("]");
    printMessage(placeOf(notice, places), text);
  }
  if (unkept_ > 0)
    printMessage(
        "", "warning: " + countText(static_cast<int64_t>(unkept_), "more warning") + " not shown");
  warnings_.clear();
  unkept_ = 0;
}

}  // namespace orvxml::command
