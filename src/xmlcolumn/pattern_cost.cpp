// The grammar, as XML Schema has it:
//
//   pattern    = branch { "|" branch }
//   branch     = { atom [ "?" | "*" | "+" | "{" n "}" | "{" n ",}" | "{" n "," m "}" ] }
//   atom       = character | "." | escape | class | "(" pattern ")"
//   class      = "[" [ "^" ] { item | item "-" item } [ "-" class ] "]"
//
// The sets of characters are the parser's own; only the one of "." is a little larger, so that more
// runs are counted than there are, and never fewer.
#include "src/xmlcolumn/pattern_cost.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include <unicode/utf16.h>
#include <xercesc/util/regx/RangeToken.hpp>
#include <xercesc/util/regx/RegxDefs.hpp>
#include <xercesc/util/regx/TokenFactory.hpp>

namespace orvxml {

namespace {

constexpr size_t kMaxLength = 20'000;  // units of a pattern
constexpr int kMaxNesting = 100;       // groups in groups
constexpr size_t kMaxPositions = 20'000;
constexpr size_t kMaxEdges = 2'000'000;
constexpr size_t kUnrolled = 1'000;  // positions of one repeat: beyond, its numbers do not count
constexpr size_t kComparedEdges = 50'000;
constexpr double kMaxEmptyWays = 16;
constexpr int kMaxCount = 1'000'000;
constexpr size_t kPlainEdges = 32;  // of a position
constexpr double kEdgesPerStep = 3;
constexpr double kReadPerStep = 250;  // units of the value, which each string measures anew

using Characters = std::shared_ptr<const icu::UnicodeSet>;

struct Refused {
  const char* reason;
};

struct Repeat {
  int least = 1;
  int most = 1;
  bool isUnbounded = false;
};

Characters shared(const icu::UnicodeSet& set) {
  if (set.isBogus()) throw std::bad_alloc();
  return std::make_shared<const icu::UnicodeSet>(set);
}

Characters range(UChar32 from, UChar32 to) {
  return shared(icu::UnicodeSet(from, to));
}

Characters complement(const Characters& of) {
  icu::UnicodeSet set(0, 0x10FFFF);
  return shared(set.removeAll(*of));
}

// What the parser's tables hold under a name. Only blocks tell characters beyond U+FFFF apart.
Characters tabled(const std::u16string& name) {
  xercesc::RangeToken* const table = xercesc::TokenFactory::staticGetRange(name.c_str());
  if (!table) return range(0, 0x10FFFF);
  icu::UnicodeSet set;
  const UChar32 last = name.starts_with(u"Is") ? 0x10FFFF : 0xFFFF;
  for (UChar32 from = 0; from <= last; ++from) {
    if (!table->match(from)) continue;
    UChar32 to = from;
    while (to < last && table->match(to + 1)) ++to;
    set.add(from, to);
    from = to;
  }
  if (last == 0xFFFF && table->match(0x10000)) set.add(0x10000, 0x10FFFF);
  set.freeze();
  return shared(set);
}

// Reading a table takes longer than most documents, so that the process keeps what it has read.
Characters known(const std::u16string& name) {
  static std::mutex lock;
  static std::map<std::u16string, Characters> kept;
  const std::lock_guard<std::mutex> guard(lock);
  const auto found = kept.find(name);
  if (found != kept.end()) return found->second;
  Characters set = tabled(name);
  if (set->size() <= 0x10FFFF) kept.emplace(name, set);  // else there may be no such table
  return set;
}

}  // namespace

class PatternCompiler {
 public:
  PatternCompiler(std::u16string_view text, PatternCost& out) : text_(text), out_(out) {}

  void compile() {
    if (text_.size() > kMaxLength) throw Refused{"is too long"};
    const Fragment all = alternatives();
    if (at_ != text_.size()) throw Refused{"cannot be read"};
    const int end = static_cast<int>(out_.positions_.size());
    out_.positions_.push_back({shared(icu::UnicodeSet())});
    link(all.last, {{end, 1}});
    out_.first_ = all.first;
    out_.size_ = out_.positions_.size() + edges_;
    out_.isPlain_ = !repeatsString_ && out_.hasOneWay();
  }

 private:
  using Edges = std::vector<PatternCost::Edge>;
  // A part of a pattern: in how many ways it matches nothing, and where it begins and ends.
  struct Fragment {
    double emptyWays = 0;
    Edges first, last;
  };

  static void append(Edges& to, const Edges& more, double ways = 1) {
    for (const PatternCost::Edge& edge : more) to.push_back({edge.to, edge.ways * ways});
  }

  bool atEnd() const { return at_ >= text_.size(); }
  char16_t peek(size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : u'\0';
  }
  bool take(char16_t c) {
    if (atEnd() || peek() != c) return false;
    ++at_;
    return true;
  }
  void require(char16_t c) {
    if (!take(c)) throw Refused{"cannot be read"};
  }

  Fragment alternatives() {
    if (++depth_ > kMaxNesting) throw Refused{"nests groups too deeply"};
    Fragment all;
    do {
      const Fragment one = branch();
      all.emptyWays += one.emptyWays;
      append(all.first, one.first);
      append(all.last, one.last);
    } while (take(u'|'));
    --depth_;
    return bounded(std::move(all));
  }

  Fragment branch() {
    Fragment row{.emptyWays = 1, .first = {}, .last = {}};
    size_t characters = 0;  // plain ones side by side
    while (!atEnd() && peek() != u'|' && peek() != u')') {
      const Fragment next = piece();
      characters = isCharacter_ ? characters + 1 : 0;
      if (characters == 2) {
        out_.positions_[out_.positions_.size() - 2].isString = true;
        ++strings_;
      }
      link(row.last, next.first);
      if (row.emptyWays > 0) append(row.first, next.first, row.emptyWays);
      if (next.emptyWays > 0) {
        for (PatternCost::Edge& edge : row.last) edge.ways *= next.emptyWays;
        append(row.last, next.last);
      } else {
        row.last = next.last;
      }
      row.emptyWays *= next.emptyWays;
    }
    return bounded(std::move(row));
  }

  static Fragment bounded(Fragment fragment) {
    if (fragment.emptyWays > kMaxEmptyWays) throw Refused{"may be empty in too many ways"};
    return fragment;
  }

  void link(const Edges& from, const Edges& to) {
    edges_ += from.size() * to.size();
    if (edges_ > kMaxEdges) throw Refused{"is too large"};
    for (const auto& [position, ways] : from) {
      append(out_.positions_[static_cast<size_t>(position)].next, to, ways);
    }
  }

  Fragment piece() {
    const size_t start = at_;
    const size_t before = out_.positions_.size();
    const size_t strings = strings_;
    Fragment one = atom();
    const size_t end = at_;
    const size_t size = out_.positions_.size() - before;
    const std::optional<Repeat> repeat = quantifier();
    if (!repeat) return one;
    isCharacter_ = false;
    if (!repeat->isUnbounded && repeat->most <= 1) {
      if (repeat->most == 0) return {.emptyWays = 1, .first = {}, .last = {}};
      if (repeat->least == 0) one.emptyWays += 1;
      return bounded(std::move(one));
    }
    if (one.emptyWays > 0) throw Refused{"repeats what may be empty"};
    repeatsString_ = repeatsString_ || strings_ > strings;
    const int copies = repeat->isUnbounded ? std::max(repeat->least, 1) : repeat->most;
    const size_t behind = at_;
    Fragment all = static_cast<size_t>(copies) * size > kUnrolled
                       ? looped(std::move(one))
                       : unrolled(std::move(one), *repeat, copies, start, end);
    at_ = behind;
    isCharacter_ = false;
    all.emptyWays = repeat->least == 0 ? 1 : 0;
    return all;
  }

  Fragment looped(Fragment one) {
    link(one.last, one.first);
    return one;
  }

  // The atom of [start, end) as often as it may come.
  Fragment unrolled(Fragment one, const Repeat& repeat, int copies, size_t start, size_t end) {
    Fragment all{.emptyWays = 0, .first = one.first, .last = {}};
    for (int i = 1;; ++i) {
      if (i >= repeat.least) append(all.last, one.last);
      if (i == copies) break;
      at_ = start;
      Fragment next = atom();
      if (at_ != end) throw Refused{"cannot be read"};
      link(one.last, next.first);
      one = std::move(next);
    }
    if (repeat.isUnbounded) link(one.last, one.first);
    return all;
  }

  std::optional<Repeat> quantifier() {
    if (take(u'?')) return Repeat{.least = 0, .most = 1, .isUnbounded = false};
    if (take(u'*')) return Repeat{.least = 0, .most = 0, .isUnbounded = true};
    if (take(u'+')) return Repeat{.least = 1, .most = 0, .isUnbounded = true};
    if (!take(u'{')) return std::nullopt;
    Repeat repeat;
    repeat.least = repeat.most = number();
    if (take(u',')) {
      repeat.isUnbounded = peek() == u'}';
      if (!repeat.isUnbounded) repeat.most = number();
    }
    require(u'}');
    if (!repeat.isUnbounded && repeat.most < repeat.least) throw Refused{"cannot be read"};
    return repeat;
  }

  int number() {
    int value = 0;
    for (; peek() >= u'0' && peek() <= u'9'; ++at_) {
      value = std::min(value * 10 + (peek() - u'0'), kMaxCount);
    }
    return value;
  }

  Fragment atom() {
    if (take(u'(')) {
      Fragment group = alternatives();
      require(u')');
      isCharacter_ = false;
      return group;
    }
    const auto [found, isNew] = atoms_.try_emplace(at_);
    Atom& atom = found->second;
    if (isNew) {
      atom.isCharacter = peek() != u'[';
      atom.characters = single();
      atom.isCharacter = atom.isCharacter && atom.characters->size() == 1;
      atom.end = at_;
    }
    at_ = atom.end;
    isCharacter_ = atom.isCharacter;
    if (out_.positions_.size() == kMaxPositions) throw Refused{"is too large"};
    const int position = static_cast<int>(out_.positions_.size());
    out_.positions_.push_back({atom.characters});
    return {.emptyWays = 0, .first = {{position, 1}}, .last = {{position, 1}}};
  }

  Characters single() {
    if (take(u'[')) return shared(characterClass());
    if (take(u'.')) return complement(spaces(u"\n\r"));
    return peek() == u'\\' ? escape() : literal();
  }

  UChar32 character() {
    if (atEnd()) throw Refused{"cannot be read"};
    UChar32 c = 0;
    U16_NEXT(text_.data(), at_, text_.size(), c);
    return c;
  }

  icu::UnicodeSet characterClass() {
    if (++depth_ > kMaxNesting) throw Refused{"nests classes too deeply"};
    bool isNegative = take(u'^');
    icu::UnicodeSet all;
    while (!take(u']')) {
      if (peek() == u'-' && peek(1) == u'[') {
        at_ += 2;
        if (isNegative) all.complement();
        isNegative = false;
        all.removeAll(characterClass());
        require(u']');
        break;
      }
      addItem(all);
    }
    --depth_;
    if (isNegative) all.complement();
    return all;
  }

  void addItem(icu::UnicodeSet& all) {
    const Characters from = peek() == u'\\' ? escape() : literal();
    // Behind a class, as in [\w-.], the parser takes the hyphen for itself.
    const bool isRange = from->size() == 1 && peek() == u'-' && peek(1) != u']' &&
                         peek(1) != u'[' && at_ + 1 < text_.size();
    if (!isRange) {
      all.addAll(*from);
      return;
    }
    ++at_;
    const Characters to = peek() == u'\\' ? escape() : literal();
    if (to->size() != 1) throw Refused{"cannot be read"};
    all.add(from->charAt(0), to->charAt(0));
  }

  Characters literal() {
    const UChar32 c = character();
    return range(c, c);
  }

  static Characters spaces(const char16_t* all) {
    icu::UnicodeSet set;
    for (; *all; ++all) set.add(*all);
    return shared(set);
  }

  Characters escape() {
    require(u'\\');
    const UChar32 c = character();
    switch (c) {
      case u'n':
        return range(u'\n', u'\n');
      case u'r':
        return range(u'\r', u'\r');
      case u't':
        return range(u'\t', u'\t');
      case u's':
      case u'S':
        return given(xercesc::fgXMLSpace, c == u'S');
      case u'd':
      case u'D':
        return given(xercesc::fgUniDecimalDigit, c == u'D');
      case u'w':
      case u'W':
        return given(xercesc::fgXMLWord, c == u'W');
      case u'i':
      case u'I':
        return given(xercesc::fgXMLInitialNameChar, c == u'I');
      case u'c':
      case u'C':
        return given(xercesc::fgXMLNameChar, c == u'C');
      case u'p':
      case u'P':
        return given(property(), c == u'P');
      default:
        return range(c, c);
    }
  }

  static Characters given(const std::u16string& table, bool isNegative) {
    const Characters characters = known(table);
    return isNegative ? complement(characters) : characters;
  }

  // The name of a category or block, in braces.
  std::u16string property() {
    const size_t start = at_ + 1, end = text_.find(u'}', at_);
    if (peek() != u'{' || end == text_.npos) throw Refused{"cannot be read"};
    at_ = end + 1;
    return std::u16string(text_.substr(start, end - start));
  }

  // One character of the pattern: the copies of a repeat meet it again and again.
  struct Atom {
    size_t end = 0;
    Characters characters;
    bool isCharacter = false;
  };

  std::u16string_view text_;
  PatternCost& out_;
  size_t at_ = 0;
  int depth_ = 0;
  size_t edges_ = 0;
  bool isCharacter_ = false;  // the piece before: a plain one, once
  size_t strings_ = 0;        // begun so far
  bool repeatsString_ = false;
  std::map<size_t, Atom> atoms_;  // by where they stand
};

std::unique_ptr<PatternCost> PatternCost::compile(std::u16string_view pattern,
                                                  const char*& refusal) {
  auto compiled = std::make_unique<PatternCost>();
  try {
    PatternCompiler(pattern, *compiled).compile();
  } catch (const Refused& refused) {
    refusal = refused.reason;
    return nullptr;
  }
  compiled->runs_.resize(compiled->positions_.size());
  compiled->before_.resize(compiled->positions_.size());
  return compiled;
}

bool PatternCost::hasOneWay() const {
  size_t compared = 0;
  std::set<std::pair<Characters, Characters>> apart;
  const auto areApart = [&](const std::vector<Edge>& row) {
    compared += row.size() * row.size();
    if (row.size() > kPlainEdges || compared > kComparedEdges) return false;
    for (size_t i = 0; i < row.size(); ++i) {
      if (row[i].ways > 1) return false;
      const Characters& one = positions_[static_cast<size_t>(row[i].to)].characters;
      for (size_t j = 0; j < i; ++j) {
        const Characters& other = positions_[static_cast<size_t>(row[j].to)].characters;
        if (apart.contains({one, other})) continue;
        if (one == other || one->containsSome(*other)) return false;
        apart.emplace(one, other);
      }
    }
    return true;
  };
  return areApart(first_) && std::all_of(positions_.begin(), positions_.end(),
                                         [&](const Position& p) { return areApart(p.next); });
}

double PatternCost::steps(std::u16string_view value, double limit) {
  const double length = static_cast<double>(value.size());
  if (isPlain_) return length;
  const double perString = 1 + kEdgesPerStep * length / kReadPerStep;
  double total = length;
  std::vector<int> ends, endsBefore;  // where there are runs
  for (size_t at = 0; total <= limit;) {
    const bool isStart = at == 0, isEnd = at == value.size();
    UChar32 c = U_SENTINEL;  // behind the value the engine tries what may be empty
    if (!isEnd) U16_NEXT(value.data(), at, value.size(), c);
    const auto extend = [&](const std::vector<Edge>& row, double count) {
      double tried = 1;
      for (const auto& [next, ways] : row) {
        const auto i = static_cast<size_t>(next);
        tried += ways * (positions_[i].isString ? perString : 1);
        if (!positions_[i].characters->contains(c)) continue;
        if (runs_[i] == 0) ends.push_back(next);
        runs_[i] += count * ways;
      }
      total += count * tried / kEdgesPerStep;
    };
    ends.clear();
    if (isStart) extend(first_, 1);
    for (const int end : endsBefore) {
      const auto i = static_cast<size_t>(end);
      extend(positions_[i].next, before_[i]);
      before_[i] = 0;
    }
    std::swap(runs_, before_);
    std::swap(ends, endsBefore);
    if (isEnd || endsBefore.empty()) break;
  }
  for (const int end : endsBefore) before_[static_cast<size_t>(end)] = 0;
  return total;
}

}  // namespace orvxml
