#include "src/parser/converting_source.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include <xercesc/util/BinInputStream.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/TranscodingException.hpp>

namespace orvxml {
namespace {

constexpr size_t kPieceSize = 8192;
constexpr size_t kUnits = 8192;
constexpr const char16_t* kMachineUtf16 =
    std::endian::native == std::endian::little ? u"UTF-16LE" : u"UTF-16BE";

class ConvertingStream : public xercesc::BinInputStream {
 public:
  ConvertingStream(std::unique_ptr<xercesc::BinInputStream> bytes, Converter converter)
      : bytes_(std::move(bytes)), converter_(std::move(converter)) {}

  XMLFilePos curPos() const override { return delivered_; }
  const XMLCh* getContentType() const override { return nullptr; }
  XMLSize_t readBytes(XMLByte* toFill, XMLSize_t maxToRead) override {
    if (next_ == filled_) fill();
    const size_t count = std::min(maxToRead / sizeof(char16_t), filled_ - next_);
    const size_t size = count * sizeof(char16_t);
    std::memcpy(toFill, units_.data() + next_, size);
    next_ += count;
    delivered_ += size;
    return size;
  }

  // Converts the next units: none at the end of the text. What does not convert throws, once all
  // that stands in front of it has been read.
  void fill() {
    next_ = filled_ = 0;
    while (filled_ == 0 && !isComplete_) {
      if (isMalformed_) {
        throw xercesc::TranscodingException("ConvertingStream", 0,
                                            xercesc::XMLExcepts::Trans_BadSrcSeq);
      }
      filled_ = convert();
    }
  }

 private:
  // The units converted; none where a piece ends inside its first character.
  size_t convert() {
    if (at_ == end_ && !isLast_) readPiece();
    UErrorCode status = U_ZERO_ERROR;
    char16_t* out = units_.data();
    ucnv_toUnicode(converter_.get(), &out, out + units_.size(), &at_, end_, nullptr,
                   static_cast<UBool>(isLast_), &status);
    isMalformed_ = U_FAILURE(status) && status != U_BUFFER_OVERFLOW_ERROR;
    isComplete_ = isLast_ && U_SUCCESS(status);
    return static_cast<size_t>(out - units_.data());
  }

  void readPiece() {
    const size_t size = bytes_->readBytes(piece_.data(), piece_.size());
    at_ = reinterpret_cast<const char*>(piece_.data());
    end_ = at_ + size;
    isLast_ = size == 0;
  }

  std::unique_ptr<xercesc::BinInputStream> bytes_;
  Converter converter_;
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  bool isLast_ = false;
  bool isMalformed_ = false;
  bool isComplete_ = false;
  XMLFilePos delivered_ = 0;
  std::array<XMLByte, kPieceSize> piece_;
  std::array<char16_t, kUnits> units_;
  size_t next_ = 0;  // unit to deliver, of those filled
  size_t filled_ = 0;
};

}  // namespace

ConvertingSource::ConvertingSource(std::unique_ptr<xercesc::InputSource> bytes, Converter converter,
                                   size_t markBytes)
    : InputSource(bytes->getSystemId(), bytes->getPublicId()),
      bytes_(std::move(bytes)),
      converter_(std::move(converter)),
      markBytes_(markBytes) {
  setEncoding(kMachineUtf16);
}

xercesc::BinInputStream* ConvertingSource::makeStream() const {
  std::unique_ptr<xercesc::BinInputStream> bytes(bytes_->makeStream());
  if (!bytes) return nullptr;
  std::array<XMLByte, 4> mark{};
  bytes->readBytes(mark.data(), std::min(markBytes_, mark.size()));
  // A stream may outlive its source.
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_clone(converter_.get(), &status));
  if (U_FAILURE(status)) throw xercesc::OutOfMemoryException();
  auto stream = std::make_unique<ConvertingStream>(std::move(bytes), std::move(converter));
  // The parser's reader forgets its memory when its first read throws.
  stream->fill();
  return stream.release();
}

}  // namespace orvxml
