// What the parser may spend on a pattern of a schema. Its engine tries one way through the pattern
// after the other, so that a short pattern and a short value can keep it for years.
//
// A pattern is compiled to the positions of its characters and to which of them may follow which.
// Every way that the engine can try on a value is a run through those positions, and how many runs
// there are is counted without trying them: for each position the runs that end there, character by
// character. What such counting cannot bound is refused: a repeat of what may be empty.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include <unicode/uniset.h>

namespace orvxml {

class PatternCost {
 public:
  // Null for a pattern that is refused; `refusal` then says why, as the end of a sentence that
  // begins with "the pattern".
  static std::unique_ptr<PatternCost> compile(std::u16string_view pattern, const char*& refusal);

  // Steps of the engine on a value, at most: a step is what it does a thousand times in a fifth of
  // a millisecond. Counting ends when `limit` is passed.
  double steps(std::u16string_view value, double limit);
  // Whether there is never more than one way: then a value costs its length.
  bool isPlain() const { return isPlain_ && !repeatsGroup_; }
  // Positions, and ways from one to the next.
  size_t size() const { return size_; }

 private:
  friend class PatternCompiler;

  struct Position {
    const icu::UnicodeSet* characters;
    std::vector<int> next;
  };
  bool hasOneWay() const;

  std::vector<std::unique_ptr<icu::UnicodeSet>> sets_;
  std::vector<Position> positions_;
  std::vector<int> first_;
  // While steps are counted: the runs that end at a position. 0 everywhere in between.
  std::vector<double> runs_, before_;
  size_t size_ = 0;
  bool isPlain_ = false;
  bool repeatsGroup_ = false;
};

}  // namespace orvxml
