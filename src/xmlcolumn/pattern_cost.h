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
  // Whether a value costs its length: there is never more than one way, no string is repeated.
  bool isPlain() const { return isPlain_; }
  // Positions, and ways from one to the next.
  size_t size() const { return size_; }

 private:
  friend class PatternCompiler;

  // To a position, in so many ways through parts that match nothing.
  struct Edge {
    int to;
    double ways;
  };
  using Characters = std::shared_ptr<const icu::UnicodeSet>;
  struct Position {
    Characters characters;  // none at the end of the pattern
    std::vector<Edge> next = {};
    bool isString = false;  // begins plain characters side by side, which the engine takes as one
  };
  bool hasOneWay() const;

  std::vector<Position> positions_;
  std::vector<Edge> first_;
  // While steps are counted: the runs that end at a position. 0 everywhere in between.
  std::vector<double> runs_, before_;
  size_t size_ = 0;
  bool isPlain_ = false;
};

}  // namespace orvxml
