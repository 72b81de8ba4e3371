#include "src/text/piece_reader.h"

#include <algorithm>
#include <cstring>

#include "orvxml/function_locators.h"

namespace orvxml {
namespace {

constexpr size_t kPiece = kFunctionPiece;
constexpr size_t kBuffer = 16 * kPiece;

}  // namespace

PieceReader::PieceReader(FILE* file) : file_(file), buffer_(kBuffer) {}

std::string_view PieceReader::next() {
  if (rest_.size() < kPiece) refill();
  const size_t feed = rest_.substr(0, kPiece).find('\n');
  const size_t length = feed == rest_.npos ? std::min(rest_.size(), kPiece) : feed + 1;
  const std::string_view piece = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return piece;
}

bool PieceReader::hasFailed() const {
  return std::ferror(file_) != 0;
}

void PieceReader::refill() {
  if (std::feof(file_) || hasFailed()) return;
  if (!rest_.empty()) std::memmove(buffer_.data(), rest_.data(), rest_.size());
  const size_t read = std::fread(buffer_.data() + rest_.size(), 1, kBuffer - rest_.size(), file_);
  rest_ = {buffer_.data(), rest_.size() + read};
}

}  // namespace orvxml
