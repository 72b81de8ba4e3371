#include "src/text/document_recoder.h"

#include "orvxml/trace.h"

namespace orvxml {
namespace {

constexpr size_t kUnits = 16384;
constexpr size_t kBytes = 12288;

}  // namespace

DocumentRecoder::DocumentRecoder(QrkStruct* ctx)
    : ctx_(ctx),
      from_(ctx->codePages->appConverter),
      to_(ctx->codePages->dbConverter),
      units_(kUnits),
      bytes_(kBytes) {
  ucnv_resetToUnicode(from_);
  ucnv_resetFromUnicode(to_);
}

void DocumentRecoder::start(std::string_view piece) {
  isStarted_ = true;
  UErrorCode status = U_ZERO_ERROR;
  marked_ = openForMark(*ctx_->codePages, piece, status);
  if (U_FAILURE(status)) throw conversionFailure(status);
  if (marked_) from_ = marked_.get();
}

void DocumentRecoder::decode(std::string_view piece, bool last) {
  if (!isStarted_) start(piece);
  UErrorCode status = U_ZERO_ERROR;
  const char* in = piece.data();
  char16_t* out = units_.data();
  ucnv_toUnicode(from_, &out, out + kUnits, &in, in + piece.size(), nullptr,
                 static_cast<UBool>(last), &status);
  if (U_FAILURE(status)) {
    QRK_TRACE(ctx_, "cant convert from app codepage err = %ld", static_cast<long>(status));
    throw conversionFailure(status);
  }
  text_ = {units_.data(), static_cast<size_t>(out - units_.data())};
  if (isFirstUnit_ && !text_.empty()) {
    text_ = withoutMark(text_);
    isFirstUnit_ = false;
  }
}

// `more` tells whether something of the text is left.
std::string_view DocumentRecoder::encode(bool last, bool& more) {
  UErrorCode status = U_ZERO_ERROR;
  const char16_t* in = text_.data();
  char* out = bytes_.data();
  ucnv_fromUnicode(to_, &out, out + kBytes, &in, in + text_.size(), nullptr,
                   static_cast<UBool>(last), &status);
  more = status == U_BUFFER_OVERFLOW_ERROR;
  if (U_FAILURE(status) && !more) {
    QRK_TRACE(ctx_, "cant convert to db codepage err = %ld", static_cast<long>(status));
    throw conversionFailure(status);
  }
  text_.remove_prefix(static_cast<size_t>(in - text_.data()));
  return {bytes_.data(), static_cast<size_t>(out - bytes_.data())};
}

}  // namespace orvxml
