#include "src/xmlcolumn/result_values.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <utility>

#include "orvxml/code_pages.h"
#include "src/text/converters.h"
#include "src/text/markup.h"

namespace orvxml {
namespace {

constexpr size_t kPiece = 8192;  // units

bool isMarkup(char16_t unit) {
  static const auto kMarkup = [] {
    std::array<bool, u'>' + 1> marks{};
    for (char16_t mark = 0; mark <= u'>'; ++mark) marks[mark] = !entityOf(mark).empty();
    return marks;
  }();
  return unit <= u'>' && kMarkup[unit];
}

// A parser takes these for line ends or blanks, or refuses them as they are (XML 1.1).
bool needsReference(char16_t unit, Escaping escaping) {
  if (unit < u' ') return escaping == Escaping::Attribute || (unit != u'\n' && unit != u'\t');
  return (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028;
}

void addReference(qrkResult& result, char16_t unit) {
  std::u16string reference = u"&#";
  for (const char digit : std::to_string(static_cast<unsigned>(unit))) {
    reference += static_cast<char16_t>(digit);
  }
  result.addToCurrentItem(reference + u';');
}

bool isAscii(std::u16string_view text) {
  unsigned all = 0;
  for (const char16_t unit : text) all |= unit;
  return all < 0x80;
}

// Large blocks grow in place or move without being copied.
template <class T>
void growTo(T*& block, size_t& room, size_t wanted) {
  auto* const moved = static_cast<T*>(std::realloc(block, wanted * sizeof(T)));
  if (!moved) throw std::bad_alloc();
  block = moved;
  room = wanted;
}

}  // namespace

qrkResult::qrkResult(QrkStruct* ctx) : ctx_(ctx), isUtf8_(isUtf8Database(ctx)) {}

qrkResult::~qrkResult() {
  std::free(pending_);
  std::free(bytes_);
}

void qrkResult::addItem() {
  endItem();
  begins_.push_back(length_);
  isOpen_ = true;
}

void qrkResult::makeRoom(size_t more) {
  if (isUtf8_) convertPending(false);
  if (more <= pendingRoom_ - pendingLength_) return;
  growTo(pending_, pendingRoom_, std::max(kPiece, more + 2 * pendingRoom_));
}

// Room for `more` bytes and a terminator behind those that are there.
char* qrkResult::reserve(size_t more) {
  if (more >= room_ - length_) growTo(bytes_, room_, length_ + more + 1 + room_);
  return bytes_ + length_;
}

void qrkResult::convertPending(bool isLast) {
  const std::u16string_view all(pending_, pendingLength_);
  const bool isSplit = !isLast && !all.empty() && U16_IS_LEAD(all.back());
  const std::u16string_view text = all.substr(0, all.size() - isSplit);
  if (isAscii(text) && isUtf8_) {
    std::copy(text.begin(), text.end(), reserve(text.size()));
    length_ += text.size();
  } else if (toDatabase(ctx_, text, converted_)) {
    converted_.copy(reserve(converted_.size()), converted_.size());
    length_ += converted_.size();
  } else {
    isConverted_ = false;
  }
  if (isSplit) pending_[0] = all.back();
  pendingLength_ = isSplit;
}

void qrkResult::endItem() {
  if (!isOpen_) return;
  isOpen_ = false;
  convertPending(true);
  *reserve(0) = 0;
  ++length_;
}

bool qrkResult::complete() {
  endItem();
  return isConverted_;
}

std::string_view qrkResult::item(uint32_t index) const {
  const size_t end = index + 1 < count() ? begins_[index + 1] : length_;
  return {bytes_ + begins_[index], end - 1 - begins_[index]};
}

char* qrkResult::takeOnly() {
  char* const value = std::exchange(bytes_, nullptr);
  char* const shrunk = static_cast<char*>(std::realloc(value, length_));
  begins_.clear();
  length_ = room_ = 0;
  return shrunk ? shrunk : value;
}

void qrkResult::addToCurrentItem(Escaping escaping, std::u16string_view text) {
  if (escaping == Escaping::None) return addToCurrentItem(text);
  const bool forParser = escaping != Escaping::Markup;
  size_t plain = 0;  // where the units begin that stand for themselves
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    const bool markup = isMarkup(unit);
    if (!markup && !(forParser && needsReference(unit, escaping))) continue;
    addToCurrentItem(text.substr(plain, i - plain));
    plain = i + 1;
    if (markup) {
      addToCurrentItem(entityOf(unit));
    } else {
      addReference(*this, unit);
    }
  }
  addToCurrentItem(text.substr(plain));
}

}  // namespace orvxml
