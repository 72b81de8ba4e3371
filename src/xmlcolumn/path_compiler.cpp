// Compiles a location path.
//
//   path       = "/" [steps] { "//" [steps] } [ "/@" attribute | "//@" attribute ]
//   steps      = step { "/" step } [ "/" ]
//   step       = ( name | "*" ) [ "[" ... "@" name "=" quote value quote ... "]" | "[" ... "]" ]
//
// Every position in the path is looked at a bounded number of times, however long or odd it is.
#include <algorithm>
#include <utility>
#include <vector>

#include "orvxml/notices.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/xmlcolumn/location_path_steps.h"
#include "src/xmlcolumn/name_characters.h"
#include "src/xmlcolumn/notice_text.h"

namespace orvxml {
namespace {

constexpr size_t kNone = std::u16string_view::npos;

XMLCh* heapCopy(std::u16string_view text) {
  auto* copy = new XMLCh[text.size() + 1];
  std::copy(text.begin(), text.end(), copy);
  copy[text.size()] = 0;
  return copy;
}

void reverse(QrkQueryChunk*& list) {
  QrkQueryChunk* reversed = nullptr;
  while (list) {
    QrkQueryChunk* const rest = list->next;
    list->next = reversed;
    reversed = list;
    list = rest;
  }
  list = reversed;
}

void freeSteps(QrkQueryChunk*& list) {
  while (list) delete std::exchange(list, list->next);
}

class PathCompiler {
 public:
  explicit PathCompiler(QrkQuery& query)
      : query_(query), ctx_(query.ctx), path_(query.path ? query.path : u"") {}

  void compile() {
    QRK_TRACE(ctx_, "query length is %zu", path_.size());
    if (!path_.starts_with(u'/')) return errorAt(1);
    splitAtDescendants(takeAttribute());
    if (listener_ && query_.kind == kSelectsAttribute && !query_.head && !query_.body &&
        !query_.tail) {
      warn("attribute-of-nothing", u" selects nothing: it names no element");
    }
  }

 private:
  // Later errors replace earlier ones.
  void errorAt(size_t position) { query_.state = static_cast<int32_t>(position); }

  // The path is accepted, and selects something else than it seems to.
  void warn(const char* rule, const std::u16string& reason) const {
    Notice warning;
    warning.rule = rule;
    warning.text = utf8Text(u"the path '" + std::u16string(path_) + u"'" + reason);
    listener_->notice(warning);
  }

  // `ch` in [from, end), or `end`.
  size_t find(char16_t ch, size_t from, size_t end) const {
    const size_t found = path_.substr(0, end).find(ch, from);
    return found == kNone ? end : found;
  }

  // Takes "/@name" off the end of the path. Returns the end of the path to the element.
  size_t takeAttribute() {
    const size_t at = path_.rfind(u'@');
    const size_t equals = path_.rfind(u'=');
    if (at == kNone || (equals != kNone && at < equals)) return path_.size();
    if (path_[at - 1] == u'[') {
      // A predicate without a "=".
      errorAt(at);
      return path_.size();
    }
    query_.kind = kSelectsAttribute;
    warnOfName(path_.substr(at + 1));
    query_.attrName = heapCopy(path_.substr(at + 1));
    if (path_[at - 1] != u'/') {
      errorAt(at - 1);
    } else if (at >= 2 && path_[at - 2] == u'/') {
      ofAnyDescendant_ = true;
      return at;
    }
    return at - 1;
  }

  // The name is not checked, but an attribute cannot have any.
  void warnOfName(std::u16string_view name) const {
    if (!listener_) return;
    const bool isName = !name.empty() && isNameStart(name.front()) &&
                        std::all_of(name.begin(), name.end(), isNameCharacter);
    if (name != u"*" && !isName) {
      warn("attribute-name",
           u" selects nothing: '" + std::u16string(name) + u"' is no name of an attribute");
    }
  }

  // Parses what stands between the "//" of [0, end): head, tail, then the body segments.
  void splitAtDescendants(size_t end) {
    const std::u16string_view text = path_.substr(0, end);
    std::vector<size_t> cuts;
    for (size_t cut = text.find(u"//"); cut != kNone; cut = text.find(u"//", cut + 2)) {
      cuts.push_back(cut);
    }
    parseSteps(query_.head, 1, cuts.empty() ? end : cuts.front());
    QRK_TRACE(ctx_, "Inside headend");
    if (cuts.empty()) return;
    parseTail(cuts.back() + 2, end);
    QrkQueryChunks** link = &query_.body;
    for (size_t i = 0; i + 1 < cuts.size(); ++i) {
      const size_t begin = cuts[i] + 2;
      if (begin == cuts[i + 1]) continue;
      *link = new QrkQueryChunks;
      parseSteps((*link)->chunks, begin, cuts[i + 1]);
      link = &(*link)->next;
    }
  }

  void parseTail(size_t begin, size_t end) {
    parseSteps(query_.tail, begin, end);
    reverse(query_.tail);
    if (ofAnyDescendant_ && begin == end) {
      query_.tail = new QrkQueryChunk;
      query_.tail->filter.name = u"*";
    }
  }

  void parseSteps(QrkQueryChunk*& list, size_t begin, size_t end) {
    QrkQueryChunk** link = &list;
    Lookahead ahead;
    while (begin < end) {
      const size_t stepEnd = endOfStep(ahead, begin, end);
      warnOfSwallowedSteps(begin, stepEnd);
      *link = new QrkQueryChunk;
      parseStep((*link)->filter, begin, stepEnd);
      link = &(*link)->next;
      begin = stepEnd + 1;
    }
    QRK_TRACE(ctx_, "Entered, return NULL");
  }

  // The places of the next quotation mark and bracket, kept from step to step: looking for them
  // again in every step would make long paths quadratic.
  struct Lookahead {
    size_t quote = 0;
    size_t bracket = 0;
  };

  size_t next(size_t& place, char16_t ch, size_t from, size_t end) const {
    if (place < from) place = find(ch, from, end);
    return place;
  }

  // A "/" behind a quotation mark belongs to a quoted value when a "]" follows it; the step then
  // ends behind that "]", and the character there separates it from the next one.
  size_t endOfStep(Lookahead& ahead, size_t begin, size_t end) const {
    const size_t slash = find(u'/', begin, end);
    if (slash == end || next(ahead.quote, u'"', begin, end) > slash) return slash;
    const size_t bracket = next(ahead.bracket, u']', slash, end);
    return bracket == end ? slash : bracket + 1;
  }

  // A "]" of a later step ends the step as well: then that step and all between count for nothing.
  void warnOfSwallowedSteps(size_t begin, size_t end) {
    if (!listener_ || hasSwallowed_) return;
    bool isQuoted = false;
    for (size_t i = begin; i < end; ++i) {
      if (path_[i] == u'"') isQuoted = !isQuoted;
      if (path_[i] != u'/' || isQuoted) continue;
      hasSwallowed_ = true;
      return warn("steps-behind-predicate",
                  u" selects what '" + std::u16string(path_.substr(0, i)) + u"' selects: '" +
                      std::u16string(path_.substr(i, end - i)) +
                      u"' counts as part of the predicate in front of it");
    }
  }

  void parseStep(QrkQueryFilter& filter, size_t begin, size_t end) {
    const size_t bracket = find(u'[', begin, end);
    filter.name = path_.substr(begin, bracket - begin);
    if (filter.name != u"*") checkName(begin, bracket);
    const size_t at = find(u'@', bracket, end);
    if (at != end) parseTest(filter, at, end);
  }

  // From the "@" of a predicate: @name="value". The opening quotation mark is not looked at.
  void parseTest(QrkQueryFilter& filter, size_t at, size_t end) {
    const size_t equals = find(u'=', at, end);
    if (equals == end) {
      QRK_TRACE(ctx_, "no = in path");
      return errorAt(at);
    }
    const size_t value = std::min(equals + 2, end);
    const size_t closing = find(u'"', value, end);
    if (closing == end) {
      QRK_TRACE(ctx_, "no end quote in path %x %x %x", unit(equals + 1), unit(equals + 2),
                unit(equals + 3));
      return errorAt(equals);
    }
    filter.attrName = path_.substr(at + 1, equals - at - 1);
    filter.attrValue = path_.substr(value, closing - value);
    filter.hasTest = true;
    checkName(at + 1, equals);
  }

  void checkName(size_t begin, size_t end) {
    if (begin == end || !isNameStart(path_[begin])) return errorAt(begin);
    for (size_t i = begin + 1; i < end; ++i) {
      if (!isNameCharacter(path_[i])) return errorAt(i);
    }
  }

  unsigned unit(size_t position) const { return position < path_.size() ? path_[position] : 0; }

  QrkQuery& query_;
  QrkStruct* ctx_;
  std::u16string_view path_;
  bool ofAnyDescendant_ = false;  // the path ends in "//@name"
  NoticeListener* const listener_ = noticeListener();
  bool hasSwallowed_ = false;  // and told so
};

}  // namespace

QrkQuery::QrkQuery(QrkStruct* context, XMLCh* text) : ctx(context), path(text) {
  try {
    PathCompiler(*this).compile();
  } catch (const std::bad_alloc&) {
    cleanup();
    throw;
  }
}

void QrkQuery::cleanup() {
  freeSteps(head);
  freeSteps(tail);
  while (body) {
    freeSteps(body->chunks);
    delete std::exchange(body, body->next);
  }
  delete[] attrName;
  attrName = nullptr;
}

}  // namespace orvxml
