// The grammar, as XML Schema has it:
//
//   pattern    = branch { "|" branch }
//   branch     = { atom [ "?" | "*" | "+" | "{" n "}" | "{" n ",}" | "{" n "," m "}" ] }
//   atom       = character | "." | escape | class | "(" pattern ")"
//   class      = "[" [ "^" ] { item | item "-" item } [ "-" class ] "]"
//
// Where a set of characters is not known exactly it is taken for larger than it is: then more runs
// are counted than there are, and never fewer.
#include "src/xmlcolumn/pattern_cost.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include <unicode/unistr.h>
#include <unicode/utf16.h>

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
constexpr double kEdgesPerStep = 16;
constexpr double kSquarePerStep = 250;  // a repeated group is looked up among all its repeats

struct Refused {
  const char* reason;
};

// A part of a pattern: in how many ways it matches nothing, and where it begins and ends.
struct Fragment {
  double emptyWays = 0;
  std::vector<int> first, last;
};

struct Repeat {
  int least = 1;
  int most = 1;
  bool isUnbounded = false;
};

struct Characters {
  icu::UnicodeSet set;
  bool isExact = true;  // else larger than meant
};

void append(std::vector<int>& to, const std::vector<int>& more) {
  to.insert(to.end(), more.begin(), more.end());
}

Characters everything(bool isExact) {
  return {icu::UnicodeSet(0, 0x10FFFF), isExact};
}

Characters known(const char16_t* pattern, bool isExact = true) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeSet set(icu::UnicodeString(pattern), status);
  return U_SUCCESS(status) ? Characters{set, isExact} : everything(false);
}

Characters complement(Characters of) {
  if (!of.isExact) return everything(false);
  of.set.complement();
  return of;
}

}  // namespace

class PatternCompiler {
 public:
  PatternCompiler(std::u16string_view text, PatternCost& out) : text_(text), out_(out) {}

  void compile() {
    if (text_.size() > kMaxLength) throw Refused{"is too long"};
    const Fragment all = alternatives();
    if (at_ != text_.size()) throw Refused{"cannot be read"};
    out_.first_ = all.first;
    out_.size_ = out_.positions_.size() + edges_;
  }

 private:
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
    while (!atEnd() && peek() != u'|' && peek() != u')') {
      const Fragment next = piece();
      link(row.last, next.first);
      if (row.emptyWays > 0) append(row.first, next.first);
      if (next.emptyWays > 0) {
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

  void link(const std::vector<int>& from, const std::vector<int>& to) {
    edges_ += from.size() * to.size();
    if (edges_ > kMaxEdges) throw Refused{"is too large"};
    for (const int position : from) append(out_.positions_[static_cast<size_t>(position)].next, to);
  }

  Fragment piece() {
    const size_t start = at_;
    const size_t before = out_.positions_.size();
    Fragment one = atom();
    const size_t end = at_;
    const size_t size = out_.positions_.size() - before;
    const std::optional<Repeat> repeat = quantifier();
    if (!repeat) return one;
    if (!repeat->isUnbounded && repeat->most <= 1) {
      if (repeat->most == 0) return {.emptyWays = 1, .first = {}, .last = {}};
      if (repeat->least == 0) one.emptyWays += 1;
      return bounded(std::move(one));
    }
    if (one.emptyWays > 0) throw Refused{"repeats what may be empty"};
    if (size > 1) out_.repeatsGroup_ = true;
    const int copies = repeat->isUnbounded ? std::max(repeat->least, 1) : repeat->most;
    const size_t behind = at_;
    Fragment all = static_cast<size_t>(copies) * size > kUnrolled
                       ? looped(std::move(one))
                       : unrolled(std::move(one), *repeat, copies, start, end);
    at_ = behind;
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
      return group;
    }
    const size_t start = at_;
    const Characters characters = single();
    if (out_.positions_.size() == kMaxPositions) throw Refused{"is too large"};
    const int position = static_cast<int>(out_.positions_.size());
    const icu::UnicodeSet*& set = bySource_[text_.substr(start, at_ - start)];
    if (!set) {
      out_.sets_.push_back(std::make_unique<icu::UnicodeSet>(characters.set));
      out_.sets_.back()->freeze();
      set = out_.sets_.back().get();
    }
    out_.positions_.push_back({set, {}});
    return {.emptyWays = 0, .first = {position}, .last = {position}};
  }

  Characters single() {
    if (take(u'[')) return characterClass();
    if (take(u'.')) return known(u"[^\\n\\r]");
    if (peek() == u'\\') return escape();
    const UChar32 c = character();
    return {icu::UnicodeSet(c, c)};
  }

  UChar32 character() {
    if (atEnd()) throw Refused{"cannot be read"};
    UChar32 c = 0;
    U16_NEXT(text_.data(), at_, text_.size(), c);
    return c;
  }

  Characters characterClass() {
    if (++depth_ > kMaxNesting) throw Refused{"nests classes too deeply"};
    const bool isNegative = take(u'^');
    Characters all{icu::UnicodeSet()};
    while (!take(u']')) {
      if (peek() == u'-' && peek(1) == u'[') {
        at_ += 2;
        if (isNegative) all = complement(std::move(all));
        const Characters without = characterClass();
        if (without.isExact) {
          all.set.removeAll(without.set);
        } else {
          all.isExact = false;
        }
        require(u']');
        --depth_;
        return all;
      }
      addItem(all);
    }
    --depth_;
    return isNegative ? complement(std::move(all)) : all;
  }

  void addItem(Characters& all) {
    const Characters from = peek() == u'\\' ? escape() : literal();
    const bool isRange =
        peek() == u'-' && peek(1) != u']' && peek(1) != u'[' && at_ + 1 < text_.size();
    all.isExact = all.isExact && from.isExact;
    if (!isRange) {
      all.set.addAll(from.set);
      return;
    }
    ++at_;
    const Characters to = peek() == u'\\' ? escape() : literal();
    if (from.set.size() != 1 || to.set.size() != 1) throw Refused{"cannot be read"};
    all.set.add(from.set.charAt(0), to.set.charAt(0));
  }

  Characters literal() {
    const UChar32 c = character();
    return {icu::UnicodeSet(c, c)};
  }

  Characters escape() {
    require(u'\\');
    const UChar32 c = character();
    switch (c) {
      case u'n':
        return known(u"[\\n]");
      case u'r':
        return known(u"[\\r]");
      case u't':
        return known(u"[\\t]");
      case u's':
        return known(u"[\\ \\t\\n\\r]");
      case u'S':
        return known(u"[^\\ \\t\\n\\r]");
      case u'd':
        return known(u"[\\p{Nd}]");
      case u'D':
        return known(u"[\\P{Nd}]");
      case u'w':
        return known(u"[^\\p{P}\\p{Z}\\p{C}]", false);
      case u'W':
        return everything(false);
      case u'i':
        return known(u"[A-Za-z_\\:\\u0080-\\U0010FFFF]", false);
      case u'c':
        return known(u"[A-Za-z0-9._\\:\\-\\u0080-\\U0010FFFF]", false);
      case u'I':
      case u'C':
        return everything(false);
      case u'p':
      case u'P':
        return property(c == u'P');
      default:
        return {icu::UnicodeSet(c, c)};
    }
  }

  // {name}: a category; the parser's blocks are not looked up.
  Characters property(bool isNegative) {
    const size_t end = text_.find(u'}', at_);
    if (peek() != u'{' || end == text_.npos) throw Refused{"cannot be read"};
    const std::u16string name(text_.substr(at_ + 1, end - at_ - 1));
    at_ = end + 1;
    if (name.size() > 2) return everything(false);
    // The parser's tables of characters are older.
    Characters category = known((u"[\\p{" + name + u"}]").c_str(), false);
    return isNegative ? everything(false) : category;
  }

  std::u16string_view text_;
  PatternCost& out_;
  size_t at_ = 0;
  int depth_ = 0;
  size_t edges_ = 0;
  std::map<std::u16string_view, const icu::UnicodeSet*> bySource_;
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
  compiled->isPlain_ = compiled->hasOneWay();
  compiled->runs_.resize(compiled->positions_.size());
  compiled->before_.resize(compiled->positions_.size());
  return compiled;
}

bool PatternCost::hasOneWay() const {
  size_t compared = 0;
  const auto areApart = [&](const std::vector<int>& row) {
    icu::UnicodeSet met;
    compared += row.size();
    for (const int at : row) {
      const icu::UnicodeSet& characters = *positions_[static_cast<size_t>(at)].characters;
      if (compared > kComparedEdges || met.containsSome(characters)) return false;
      met.addAll(characters);
    }
    return true;
  };
  return areApart(first_) && std::all_of(positions_.begin(), positions_.end(),
                                         [&](const Position& p) { return areApart(p.next); });
}

double PatternCost::steps(std::u16string_view value, double limit) {
  const double length = static_cast<double>(value.size());
  double total = length + (repeatsGroup_ ? length * length / kSquarePerStep : 0);
  if (isPlain_) return total;
  std::vector<int> ends, endsBefore;  // where there are runs
  for (size_t at = 0; at < value.size() && total <= limit;) {
    const bool isStart = at == 0;
    UChar32 c = 0;
    U16_NEXT(value.data(), at, value.size(), c);
    const auto extend = [&](const std::vector<int>& row, double count) {
      total += count * (1 + static_cast<double>(row.size()) / kEdgesPerStep);
      for (const int next : row) {
        const auto i = static_cast<size_t>(next);
        if (!positions_[i].characters->contains(c)) continue;
        if (runs_[i] == 0) ends.push_back(next);
        runs_[i] += count;
      }
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
    if (endsBefore.empty()) break;
  }
  for (const int end : endsBefore) before_[static_cast<size_t>(end)] = 0;
  return total;
}

}  // namespace orvxml
