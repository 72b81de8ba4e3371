// Compiles the first line as a location path and matches it, line by line, against the stack of
// open elements:
//
//   name attribute=value attribute=value   opens an element
//   (nothing)                              closes the innermost one
//
// The matches are compared with those that the definition gives, found the slow way.
#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

#include "fuzz/fuzz_call.h"
#include "orvxml/code_pages.h"
#include "orvxml/utilities.h"
#include "src/xmlcolumn/path_progress.h"

namespace orvxml::fuzz {
namespace {

constexpr size_t kDeepest = 40;

std::u16string wide(std::string_view text) {
  std::u16string result;
  if (!toUtf16(nullptr, text, result)) {
    result.clear();
    for (const char byte : text) {
      result.push_back(static_cast<char16_t>(static_cast<unsigned char>(byte) << (byte & 8)));
    }
  }
  return result.substr(0, result.find(u'\0'));
}

// The attributes of an element that never was in a document.
class MadeAttributes : public QrkAttrs {
 public:
  explicit MadeAttributes(std::vector<std::pair<std::u16string, std::u16string>> attributes)
      : QrkAttrs(nullptr), attributes_(std::move(attributes)) {}
  XMLSize_t getLength() const override { return attributes_.size(); }
  const XMLCh* getQName(XMLSize_t i) const override { return attributes_[i].first.c_str(); }
  const XMLCh* getValue(XMLSize_t i) const override { return attributes_[i].second.c_str(); }
  const XMLCh* getValue(const XMLCh* name) const override {
    for (const auto& [own, value] : attributes_) {
      if (own == name) return value.c_str();
    }
    return nullptr;
  }

 private:
  std::vector<std::pair<std::u16string, std::u16string>> attributes_;
};

std::vector<std::pair<std::u16string, std::u16string>> attributesFrom(std::string_view line) {
  std::vector<std::pair<std::u16string, std::u16string>> attributes;
  while (!line.empty()) {
    line.remove_prefix(1);
    const std::string_view one = line.substr(0, line.find(' '));
    const size_t equals = one.find('=');
    if (equals != one.npos) {
      attributes.emplace_back(wide(one.substr(0, equals)), wide(one.substr(equals + 1)));
    }
    line.remove_prefix(one.size());
  }
  return attributes;
}

struct Element {
  explicit Element(std::string_view line)
      : name(wide(line.substr(0, line.find(' ')))),
        attributes(attributesFrom(line.substr(std::min(line.find(' '), line.size())))) {}

  std::u16string name;
  MadeAttributes attributes;
};

using Stack = std::deque<Element>;
using Filters = std::vector<const QrkQueryFilter*>;

Filters filtersOf(const QrkQueryChunk* chunk) {
  Filters filters;
  for (; chunk; chunk = chunk->next) filters.push_back(&chunk->filter);
  return filters;
}

bool fits(const QrkQueryFilter& filter, const Element& element) {
  if (filter.name != u"*" && filter.name != element.name) return false;
  if (!filter.hasTest) return true;
  const XMLCh* value = element.attributes.getValue(std::u16string(filter.attrName).c_str());
  return value && filter.attrValue == value;
}

bool fitsAt(const Filters& filters, const Stack& stack, size_t at) {
  if (at + filters.size() > stack.size()) return false;
  for (size_t i = 0; i < filters.size(); ++i) {
    if (!fits(*filters[i], stack[at + i])) return false;
  }
  return true;
}

// Whether the path selects the innermost element.
bool selects(const QrkQuery& query, const Stack& stack) {
  const Filters head = filtersOf(query.head);
  if (!fitsAt(head, stack, 0)) return false;
  size_t used = head.size();
  if (!query.body && !query.tail) {
    return used == stack.size() || query.kind == kSelectsMarkup;
  }
  for (const QrkQueryChunks* segment = query.body; segment; segment = segment->next) {
    const Filters steps = filtersOf(segment->chunks);
    while (used < stack.size() && !fitsAt(steps, stack, used)) ++used;
    if (!fitsAt(steps, stack, used)) return false;
    used += steps.size();
  }
  const Filters reversed = filtersOf(query.tail);
  const Filters tail(reversed.rbegin(), reversed.rend());
  return stack.size() >= used + tail.size() && fitsAt(tail, stack, stack.size() - tail.size());
}

// The path in a block of its very size.
std::unique_ptr<char16_t[]> block(const std::u16string& text) {
  auto copy = std::make_unique<char16_t[]>(text.size() + 1);
  std::copy(text.begin(), text.end(), copy.get());
  return copy;
}

void checkQuery(const QrkQuery& query, const std::u16string& path) {
  require(query.state >= 0 && static_cast<size_t>(query.state) <= std::max<size_t>(path.size(), 1),
          "an error lies in the path");
  require((query.kind == kSelectsAttribute) == (query.attrName != nullptr),
          "an attribute path has the attribute's name");
  require(query.path == path, "the path is not changed");
}

void match(const QrkQuery& query, std::string_view lines) {
  PathProgress progress(query);
  QrkCurrentPath open(query.ctx);
  Stack stack;
  std::vector<bool> isLost{false};
  while (!lines.empty()) {
    const std::string line = takeLine(lines);
    if (line.empty()) {
      if (stack.empty()) continue;
      stack.pop_back();
      isLost.pop_back();
      progress.pop();
      open.pop();
    } else {
      if (stack.size() == kDeepest) continue;
      stack.emplace_back(line);
      progress.push(stack.back().name.c_str(), stack.back().attributes);
      open.push(stack.back().name.c_str(), stack.back().attributes);
    }
    if (stack.empty()) continue;
    const int found = progress.match();
    require(query.tryToMatch(open) == found, "element by element or at once is the same");
    require((found == kMatch) == selects(query, stack), "what matches is what the path selects");
    require(found != kMatch || !isLost.back(), "nothing matches below what says so");
    if (!line.empty()) isLost.push_back(isLost.back() || found == kNoMatchBelow);
  }
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml;
  using namespace orvxml::fuzz;
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::u16string path = wide(takeLine(input));
  const auto text = block(path);
  QrkQuery query(nullptr, text.get());
  checkQuery(query, path);
  if (query.state != 0) return 0;
  match(query, input);
  query.kind = kSelectsMarkup;
  match(query, input);
  return 0;
}
