#include "src/text/piecewise_decoder.h"

#include "orvxml/code_pages.h"

namespace orvxml {

namespace {
constexpr int kDecodedUnits = 16384;
}  // namespace

PiecewiseDecoder::PiecewiseDecoder(const QrkStruct* ctx) {
  // A converter of its own, because that of the context keeps no state between conversions.
  if (ctx && ctx->codePages && ctx->codePages->dbConverter) {
    converter_.reset(ucnv_clone(ctx->codePages->dbConverter, &status_));
  } else {
    converter_.reset(ucnv_open("UTF-8", &status_));
  }
  if (!converter_) return;
  ucnv_reset(converter_.get());
  ucnv_setToUCallBack(converter_.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                      &status_);
}

// One buffer's worth of text from `*at` on.
bool PiecewiseDecoder::next(const char** at, const char* end, bool isLast) {
  if (!converter_ || (U_FAILURE(status_) && status_ != U_BUFFER_OVERFLOW_ERROR)) return false;
  status_ = U_ZERO_ERROR;
  units_.resize(kDecodedUnits);
  size_t kept = 0;
  if (held_) units_[kept++] = held_;
  char16_t* target = units_.data() + kept;
  ucnv_toUnicode(converter_.get(), &target, units_.data() + units_.size(), at, end, nullptr,
                 static_cast<UBool>(isLast), &status_);
  if (U_FAILURE(status_) && status_ != U_BUFFER_OVERFLOW_ERROR) return false;
  units_.resize(static_cast<size_t>(target - units_.data()));
  held_ = !units_.empty() && U16_IS_LEAD(units_.back()) ? units_.back() : u'\0';
  if (!held_) return true;
  units_.pop_back();
  if (!isLast || status_ == U_BUFFER_OVERFLOW_ERROR) return true;
  status_ = U_TRUNCATED_CHAR_FOUND;
  return false;
}

}  // namespace orvxml
