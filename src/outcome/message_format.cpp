// Formatting of messages. Every placeholder is a string, in the built-in table and in the catalog;
// a catalog text with any other conversion is not used.
#include <algorithm>
#include <array>
#include <clocale>
#include <cstring>
#include <string_view>

#include "orv/apie.h"
#include "orvxml/context.h"
#include "orvxml/trace.h"
#include "src/outcome/text_cut.h"

namespace orvxml {
namespace {

constexpr const char* kCatalogName = "qrk.cat";
constexpr int kLocaleCatalog = 1;
constexpr int kMessageSet = 1;
constexpr const char* kServerMessageFile = "orvsql.mo";
constexpr std::string_view kNoServerText = " DSNT400I";

bool isMessage(int index) {
  return index >= 0 && index < kMessageCount;
}

const char* builtInText(int index) {
  return qrkMsgTable[static_cast<size_t>(index)];
}

bool isUdf(const QrkStruct* ctx) {
  return ctx && ctx->callFrom == CALL_FROM_UDF;
}

// Counts the %s of a format; -1 when it holds any other conversion than %s and %%.
int stringConversions(const char* format) {
  int count = 0;
  for (const char* p = std::strchr(format, '%'); p; p = std::strchr(p + 2, '%')) {
    if (p[1] == 's') {
      ++count;
    } else if (p[1] != '%') {
      return -1;
    }
  }
  return count;
}

// The open message catalog of the process locale.
class Catalog {
 public:
  Catalog() {
    std::setlocale(LC_ALL, "");
    catalog_ = QRK_catopen(kCatalogName, kLocaleCatalog);
  }
  ~Catalog() {
    if (isOpen()) QRK_catclose(catalog_);
  }
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  // The format for message `index`, valid as long as the catalog is open.
  const char* text(QrkStruct* ctx, int index) const {
    const char* builtIn = builtInText(index);
    if (!isOpen()) {
      QRK_TRACE(ctx, "Message catalog open error. Using internal messages.");
      return builtIn;
    }
    const char* found = QRK_catgets(catalog_, kMessageSet, index, nullptr);
    if (!found || stringConversions(found) != stringConversions(builtIn)) {
      QRK_TRACE(ctx, "Message catalog fetch error. Id=%d", index);
      return builtIn;
    }
    return found;
  }

 private:
  // NOLINTNEXTLINE(performance-no-int-to-ptr): what a catalog that cannot be opened is given as.
  bool isOpen() const { return catalog_ != reinterpret_cast<void*>(intptr_t{-1}); }
  void* catalog_;
};

using MessageText = std::array<char, kMessageSize>;

// Returns the length of the formatted text, which is cut where the working buffer ends.
size_t formatText(QrkStruct* ctx, int index, va_list args, MessageText& out) {
  const Catalog catalog;
  const int length = std::vsnprintf(out.data(), out.size(), catalog.text(ctx, index), args);
  if (length < 0) return 0;
  if (static_cast<size_t>(length) < out.size()) return static_cast<size_t>(length);
  return wholeCharacters(ctx, {out.data(), out.size() - 1});
}

// Writes `text`, a newline and a terminator into `room` bytes, cut to fit.
int writeLine(const QrkStruct* ctx, char* out, std::string_view text, size_t room) {
  if (room == 0) return 0;
  if (room == 1) {
    *out = 0;
    return 0;
  }
  if (text.size() > room - 2) text = text.substr(0, wholeCharacters(ctx, text.substr(0, room - 2)));
  std::memcpy(out, text.data(), text.size());
  out[text.size()] = '\n';
  out[text.size() + 1] = 0;
  return static_cast<int>(text.size() + 1);
}

// The server's own text for `ca`, terminated, at `out`; returns its length, 0 when there is none.
int serverText(QrkStruct* ctx, char* out, const sqlca* ca) {
  const int length = sqlaintp_api(out, kMessageSize, kMessageSize, kServerMessageFile, ca);
  if (length <= 0) return 0;
  const size_t written = std::min(static_cast<size_t>(length), size_t{kMessageSize - 1});
  if (std::string_view(out, written).starts_with(kNoServerText)) return 0;
  out[written] = 0;
  QRK_TRACE(ctx, "outStr='%s'", out);
  return static_cast<int>(written);
}

// `most`: bytes that the message may take with its terminator.
int formatMessage(QrkStruct* ctx, char* out, int msgIndex, int used, int most, va_list args) {
  if (!isMessage(msgIndex)) return -1;
  MessageText text;
  const std::string_view line(text.data(), formatText(ctx, msgIndex, args, text));
  if (msgIndex == static_cast<int>(Msg::QRKG001E)) QRK_TRACE(ctx, "%s", text.data());
  if (used > kMessageSize) return 0;
  const int room = std::min(kMessageSize - std::max(used, 0), most);
  return writeLine(ctx, out, line, static_cast<size_t>(room));
}

}  // namespace

int qrkVsprint(QrkStruct* ctx, char* out, int msgIndex, int used, va_list args) {
  const int most = isUdf(ctx) ? kUdfMessageSize + 1 : kMessageSize;
  return formatMessage(ctx, out, msgIndex, used, most, args);
}

int qrkSprint(QrkStruct* ctx, char* out, int msgIndex, ...) {
  va_list args;
  va_start(args, msgIndex);
  const int written = qrkVsprint(ctx, out, msgIndex, 0, args);
  va_end(args);
  return written;
}

namespace {

// QRKM001W behind the server's text: it has no arguments, but the formatter wants a list.
int announceServerText(QrkStruct* ctx, char* out, int used, ...) {
  va_list none;
  va_start(none, used);
  const int written =
      formatMessage(ctx, out, static_cast<int>(Msg::QRKM001W), used, kMessageSize, none);
  va_end(none);
  return written;
}

// The server's text for `ca` and the message, in kMessageSize bytes.
int formatBoth(QrkStruct* ctx, char* out, const sqlca* ca, int msgIndex, va_list args) {
  if (!isMessage(msgIndex)) return -1;
  int used = ca ? serverText(ctx, out, ca) : 0;
  if (used > 0) used += announceServerText(ctx, out + used, used);
  return used + formatMessage(ctx, out + used, msgIndex, used, kMessageSize, args);
}

}  // namespace

// A function's message has no room for the server's text: it gets the library's message alone.
int qrkDbVsprint(QrkStruct* ctx, char* out, sqlca* ca, int msgIndex, va_list args) {
  return isUdf(ctx) ? qrkVsprint(ctx, out, msgIndex, 0, args)
                    : formatBoth(ctx, out, ca, msgIndex, args);
}

int qrkDbSprint(QrkStruct* ctx, char* out, sqlca* ca, int msgIndex, ...) {
  va_list args;
  va_start(args, msgIndex);
  const int written = qrkDbVsprint(ctx, out, ca, msgIndex, args);
  va_end(args);
  return written;
}

// What is printed is for callers on a command line, who have room for it whatever the context says.
int qrkVprint(QrkStruct* ctx, int msgIndex, va_list args) {
  MessageText text{};
  const int written = formatMessage(ctx, text.data(), msgIndex, 0, kMessageSize, args);
  std::fputs(text.data(), stderr);
  return written;
}

int qrkPrint(QrkStruct* ctx, int msgIndex, ...) {
  va_list args;
  va_start(args, msgIndex);
  const int written = qrkVprint(ctx, msgIndex, args);
  va_end(args);
  return written;
}

int qrkDbVprint(QrkStruct* ctx, sqlca* ca, int msgIndex, va_list args) {
  MessageText text{};
  const int written = formatBoth(ctx, text.data(), ca, msgIndex, args);
  std::fputs(text.data(), stderr);
  return written;
}

int qrkDbPrint(QrkStruct* ctx, sqlca* ca, int msgIndex, ...) {
  va_list args;
  va_start(args, msgIndex);
  const int written = qrkDbVprint(ctx, ca, msgIndex, args);
  va_end(args);
  return written;
}

}  // namespace orvxml
