#include "src/xmlcolumn/result_values.h"

#include <cstdlib>
#include <new>
#include <string>

namespace orvxml {
namespace {

// What stands for a unit in escaped text; empty: the unit itself.
std::u16string_view entityFor(char16_t unit) {
  switch (unit) {
    case u'"':
      return u"&quot;";
    case u'&':
      return u"&amp;";
    case u'\'':
      return u"&apos;";
    case u'<':
      return u"&lt;";
    case u'>':
      return u"&gt;";
    default:
      return {};
  }
}

bool isMarkup(char16_t unit) {
  return unit <= u'>' && !entityFor(unit).empty();
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

}  // namespace

qrkResult::~qrkResult() {
  std::free(text_);
}

std::u16string_view qrkResult::item(uint32_t index) const {
  const size_t end = index + 1 < count() ? begins_[index + 1] - 1 : length_;
  return {text_ + begins_[index], end - begins_[index]};
}

void qrkResult::addItem() {
  const size_t begin = begins_.empty() ? 0 : length_ + 1;
  begins_.push_back(begin);
  length_ = begin;
  addToCurrentItem({});
}

// Large blocks grow in place or move without being copied.
void qrkResult::grow(size_t more) {
  const size_t wanted = more + 2 * capacity_ + 2;
  auto* const moved = static_cast<XMLCh*>(std::realloc(text_, wanted * sizeof(XMLCh)));
  if (!moved) throw std::bad_alloc();
  text_ = moved;
  capacity_ = wanted;
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
    markup ? addToCurrentItem(entityFor(unit)) : addReference(*this, unit);
  }
  addToCurrentItem(text.substr(plain));
}

}  // namespace orvxml
