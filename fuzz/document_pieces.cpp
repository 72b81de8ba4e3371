// Converts a document of the application piece by piece and at once: both give the same. The first
// two characters choose the encodings of the application and of the database, the third the size
// of a piece, the rest is the document.
#include <vector>

#include "fuzz/fuzz_call.h"
#include "orvxml/code_pages.h"
#include "src/text/document_recoder.h"

namespace orvxml::fuzz {
namespace {

struct Conversion {
  bool done;
  std::string bytes;
};

Conversion inPieces(FunctionCall& call, std::string_view document, size_t piece) {
  DocumentRecoder recoder(&call.ctx);
  Conversion result{true, ""};
  const auto take = [&](std::string_view part) { result.bytes += part; };
  try {
    while (!document.empty()) {
      const std::string_view next = document.substr(0, piece);
      document.remove_prefix(next.size());
      recoder.recode(next, document.empty(), take);
    }
  } catch (const Failure&) {
    result.done = false;
  }
  return result;
}

Conversion atOnce(FunctionCall& call, std::string_view document) {
  std::vector<char> out(8 * document.size() + 8);
  int code = 0;
  call.clear();
  const int length =
      convertBufferAppToORV(&call.ctx, document.data(), static_cast<int>(document.size()),
                            out.data(), static_cast<int>(out.size()), call.msg, call.state, &code);
  call.judge(length < 0 ? -1 : 0);
  if (length < 0) return {false, ""};
  return {true, std::string(out.data(), static_cast<size_t>(length))};
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml::fuzz;
  if (size < 3) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  FunctionCall call(chosen(input[0]).encoding, chosen(input[1]).codePage);
  if (call.ctx.codePages->appCodePage == call.ctx.codePages->dbCodePage) return 0;
  // The pieces of a file are never smaller than its byte order mark.
  const size_t piece = std::max(static_cast<unsigned char>(input[2]), uint8_t{2});
  const Conversion pieces = inPieces(call, input.substr(3), piece);
  const Conversion whole = atOnce(call, input.substr(3));
  require(pieces.done == whole.done, "both convert or none");
  require(!whole.done || pieces.bytes == whole.bytes, "both give the same bytes");
  return 0;
}
