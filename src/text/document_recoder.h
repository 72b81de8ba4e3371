// A document of the application on its way into the database code page, piece by piece. A character
// that two pieces share waits in the converters' state.
#pragma once

#include <string_view>
#include <vector>

#include "src/outcome/problem.h"
#include "src/text/converters.h"

namespace orvxml {

class DocumentRecoder {
 public:
  explicit DocumentRecoder(QrkStruct* ctx);

  // Hands the converted piece to `take` (a Problem of a std::string_view), in parts where it is
  // long. `last`: nothing follows, so nothing may be left half.
  template <class Take>
  Problem recode(std::string_view piece, bool last, Take&& take) {
    if (const Problem problem = decode(piece, last)) return problem;
    for (bool more = true; more;) {
      std::string_view part;
      if (const Problem problem = encode(last, part, more)) return problem;
      if (part.empty()) continue;
      if (const Problem problem = take(part)) return problem;
    }
    return {};
  }

 private:
  Problem decode(std::string_view piece, bool last);
  Problem start(std::string_view piece);
  Problem encode(bool last, std::string_view& part, bool& more);

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
