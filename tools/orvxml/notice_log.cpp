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

}  // namespace

std::optional<Position> positionOf(const NamedText& in, size_t element) {
  if (element == 0 || in.text.empty()) return std::nullopt;
  const std::string text = withoutDeclaration(in.text);
  ElementPlace place{.element = element};
  qrkElementPlaces(text.data(), text.size(), &place, 1);
  if (place.line == 0) return std::nullopt;
  return Position{std::to_string(place.line), std::to_string(place.column)};
}

std::string placeOf(const NamedText& in, size_t element) {
  const std::optional<Position> position = positionOf(in, element);
  return position ? located(in.label, *position) : in.label;
}

std::string placeOf(const Notice* failure, const NamedText& mapping, const NamedText& document,
                    const std::string& otherwise) {
  if (failure && !failure->file.empty()) return failure->file;
  if (failure && failure->documentElement) return placeOf(document, failure->documentElement);
  if (failure && failure->mappingElement) return placeOf(mapping, failure->mappingElement);
  return otherwise;
}

void NoticeLog::notice(const Notice& notice) {
  if (notice.kind == Notice::kPlace) {
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
  for (const Notice& notice : warnings_) {
    std::string text = "warning: " + notice.text;
    if (notice.documentElement && notice.mappingElement) {
      text += " (" + placeOf(mapping, notice.mappingElement) + ')';
    }
    if (*notice.rule) text.append(" [").append(notice.rule).append("]");
    std::string place = placeOf(&notice, mapping, document, mapping.label);
    const std::optional<Position> inFile =
        notice.file.empty() ? std::nullopt : parserPosition(notice.text);
    if (inFile) place = located(place, *inFile);
    printMessage(place, text);
  }
  if (unkept_ > 0)
    printMessage(
        "", "warning: " + countText(static_cast<int64_t>(unkept_), "more warning") + " not shown");
  warnings_.clear();
  unkept_ = 0;
}

}  // namespace orvxml::command
