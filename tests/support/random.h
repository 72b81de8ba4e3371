// Numbers from a seed: the same ones in every run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace orvxml::test {

class Random {
 public:
  explicit Random(uint32_t seed) : engine_(seed) {}
  // 0 to n - 1.
  size_t below(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(engine_); }
  bool oneIn(size_t n) { return below(n) == 0; }
  uint64_t bits() { return engine_(); }
  template <class Choices>
  const auto& anyOf(const Choices& choices) {
    return choices[below(std::size(choices))];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace orvxml::test
