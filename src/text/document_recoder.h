// A document of the application on its way into the database code page, piece by piece. A character
// that two pieces share waits in the converters' state.
#pragma once

#include <string_view>
#include <vector>

#include "src/text/converters.h"

namespace orvxml {

class DocumentRecoder {
 public:
  explicit DocumentRecoder(QrkStruct* ctx);

  // Hands the converted piece to `take`, in parts where it is long. `last`: nothing follows, so
  // nothing may be left half.
  template <class Take>
  void recode(std::string_view piece, bool last, Take&& take) {
    decode(piece, last);
    for (bool more = true; more;) {
      const std::string_view part = encode(last, more);
      if (!part.empty()) take(part);
    }
  }

 private:
  void decode(std::string_view piece, bool last);
  void start(std::string_view piece);
  std::string_view encode(bool last, bool& more);

  QrkStruct* ctx_;
  UConverter* from_;
  UConverter* to_;
  Converter marked_;  // `from_`, where the document has its own byte order
  bool isStarted_ = false;
  bool isFirstUnit_ = true;
  std::vector<char16_t> units_;
  std::vector<char> bytes_;
  std::u16string_view text_;  // decoded and not yet encoded
};

}  // namespace orvxml
