// A source whose bytes become UTF-16 on their way to the parser, piece by piece. Bytes that mean
// nothing in the encoding, or a character that the end cuts off, end the parse.
#pragma once

#include <memory>

#include <xercesc/sax/InputSource.hpp>

#include "src/text/converters.h"

namespace orvxml {

class ConvertingSource : public xercesc::InputSource {
 public:
  // The first `markBytes` bytes are no text. `converter` stops at what does not convert.
  ConvertingSource(std::unique_ptr<xercesc::InputSource> bytes, Converter converter,
                   size_t markBytes);
  // Null when the bytes cannot be opened. Reading malformed text throws a TranscodingException,
  // after all that stands in front of it.
  xercesc::BinInputStream* makeStream() const override;

 private:
  std::unique_ptr<xercesc::InputSource> bytes_;
  Converter converter_;
  size_t markBytes_;
};

}  // namespace orvxml
