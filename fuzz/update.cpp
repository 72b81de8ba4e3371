// Updates what the first line, a location path, selects with the second line, in the rest, a
// document. The result must be a document that has the new values.
#include "orvxml/update.h"

#include "fuzz/fuzz_call.h"
#include "orvxml/extraction.h"

namespace orvxml::fuzz {
namespace {

constexpr int kRoom = 1 << 24;
constexpr int kLittleRoom = 64;

struct Update {
  int rc;
  std::string document;
};

Update update(FunctionCall& call, std::string document, std::string path, std::string value,
              int room = kRoom) {
  call.clear();
  char* result = nullptr;
  const int rc = qrkUpdateFromBuf(&call.ctx, document.data(), path.data(), value.data(), &result,
                                  room, call.state, call.msg);
  call.judge(rc);
  require((rc == 0) == (result != nullptr), "a success has a result, a failure none");
  Update outcome{rc, result ? result : ""};
  std::free(result);
  require(outcome.document.size() < static_cast<size_t>(room), "a result fits its room");
  return outcome;
}

// Every element that the path selects has the new text, or none inside a selected one.
void checkTexts(FunctionCall& call, std::string document, std::string path,
                const std::string& value) {
  QrkExtractResult values{};
  require(extractAll(&call.ctx, document.data(), 1, 1, kExtractText, path.data(), &values, kRoom,
                     call.state, call.msg) == 0,
          "an updated document can be read");
  for (char** text = values.values; *text; ++text) {
    require(!**text || *text == value, "selected elements have the new text");
  }
  qrkFreeArray(&call.ctx, &values);
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml::fuzz;
  constexpr const char* kNowhere = "//nothing-is-called-so";
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string path = takeLine(bytes).c_str();
  const std::string value = takeLine(bytes).c_str();
  const std::string document(bytes);
  FunctionCall call;
  const Update first = update(call, document, path, value);
  const Update little = update(call, document, path, value, kLittleRoom);
  require(little.rc == 0 ? little.document == first.document
                         : first.rc != 0 || first.document.size() >= kLittleRoom,
          "only the room makes a difference");
  if (first.rc != 0) return 0;
  const Update second = update(call, first.document, kNowhere, "x");
  require(second.rc == 0, "an updated document is one");
  const Update third = update(call, second.document, kNowhere, "x");
  require(third.rc == 0 && third.document == second.document,
          "what selects nothing changes nothing");
  const bool selectsText = path.find('@') == path.npos;
  if (selectsText) checkTexts(call, first.document, path, value);
  return 0;
}
