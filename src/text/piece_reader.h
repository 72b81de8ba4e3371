// Reads a file in the pieces in which it goes to the server: a line each, long lines in several.
#pragma once

#include <cstdio>
#include <string_view>
#include <vector>

namespace orvxml {

class PieceReader {
 public:
  explicit PieceReader(FILE* file);
  // Up to kFunctionPiece bytes, at most to the next line feed; good until the next call. Empty at
  // the end of the file and after an error.
  std::string_view next();
  bool hasFailed() const;

 private:
  void refill();

  FILE* file_;
  std::vector<char> buffer_;
  std::string_view rest_;  // of what has been read
};

}  // namespace orvxml
