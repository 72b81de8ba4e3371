// Extracts what the first line, a location path, selects from the rest, a document: as text and
// with markup, all values and the one.
#include "orvxml/extraction.h"

#include <algorithm>

#include "fuzz/fuzz_call.h"
#include "orvxml/code_pages.h"

namespace orvxml::fuzz {
namespace {

constexpr int kRoom = 1 << 24;
constexpr int kLittleRoom = 16;

struct Values {
  explicit Values(QrkStruct* context) : ctx(context) {}
  ~Values() { qrkFreeArray(ctx, &result); }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;
  size_t count() const {
    size_t n = 0;
    while (result.values && result.values[n]) ++n;
    return n;
  }

  QrkStruct* ctx;
  QrkExtractResult result{};
};

struct Input {
  std::string path;
  std::string document;
  int useDbEncoding;
};

int extract(FunctionCall& call, Input& input, int format, int room, Values& values) {
  call.clear();
  const int rc = extractAll(&call.ctx, input.document.data(), input.useDbEncoding, 1, format,
                            input.path.data(), &values.result, room, call.state, call.msg);
  call.judge(rc);
  require(rc == 0 || values.count() == 0, "a failure leaves no values");
  return rc;
}

void checkOne(FunctionCall& call, Input& input, int format, const Values& all) {
  char* value = nullptr;
  call.clear();
  const int rc = extractOne(&call.ctx, input.document.data(), input.useDbEncoding, 1, format,
                            input.path.data(), &value, kRoom, call.state, call.msg);
  const std::string_view state = call.state;
  const size_t count = all.count();
  if (count == 1) {
    const std::string_view only = all.result.values[0];
    require(state == "00000", "one value is a success");
    require(value && value == only, "the one value is the one of all");
    require(rc == (only.empty() ? -1 : 0), "an empty value is told apart");
  } else {
    require(rc == -1 && !value, "without one value there is none");
    require(state == (count == 0 ? "01HX0" : "38X08"), "no value and several are told apart");
  }
  std::free(value);
}

// Units that a parser would read as others, or not at all.
bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](unsigned char c) { return c >= ' ' && c < 0x7F; });
}

void checkMarkup(FunctionCall& call, const char* value) {
  Input again{"/*", value, 1};
  if (!isPlain(again.document)) return;
  Values elements(&call.ctx);
  require(extract(call, again, kExtractMarkup, kRoom, elements) == 0, "markup is a document");
  require(elements.count() == 1 && elements.result.values[0] == again.document,
          "markup extracted from markup is the same");
}

void run(FunctionCall& call, Input& input, int format) {
  Values values(&call.ctx);
  if (extract(call, input, format, kRoom, values) != 0) return;
  std::u16string wide;
  size_t longest = 0;
  for (char** value = values.result.values; *value; ++value) {
    const std::string_view text = *value;
    longest = std::max(longest, text.size());
    require(toUtf16(&call.ctx, text, wide), "a value is text of the database");
    if (format == kExtractMarkup && text.starts_with('<')) checkMarkup(call, *value);
  }
  checkOne(call, input, format, values);
  Values few(&call.ctx);
  const int rc = extract(call, input, format, kLittleRoom, few);
  require((rc == 0) == (longest < static_cast<size_t>(kLittleRoom)), "values have the room given");
}

}  // namespace
}  // namespace orvxml::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace orvxml;
  using namespace orvxml::fuzz;
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Input input{takeLine(bytes), std::string(bytes), 1};
  FunctionCall call;
  for (const int format : {kExtractText, kExtractMarkup}) {
    for (input.useDbEncoding = 0; input.useDbEncoding <= 1; ++input.useDbEncoding) {
      run(call, input, format);
    }
  }
  return 0;
}
