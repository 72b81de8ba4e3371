// Message retrieval and package binding.
#include "orv/apie.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "server/clients/esql/services.h"

namespace {

// The length of `text` cut to `room` bytes, not inside a UTF-8 character.
size_t fittingLength(std::string_view text, size_t room) {
  if (text.size() <= room) return text.size();
  while (room > 0 && (static_cast<unsigned char>(text[room]) & 0xC0U) == 0x80U) --room;
  return room;
}

std::string_view withoutBlanks(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

// Breaks the text into lines of at most `width` bytes, at blanks where there are any.
std::string wrapped(std::string_view text, size_t width) {
  std::string lines;
  while (text.size() > width) {
    size_t end = text.find_last_of(' ', width);
    if (end == std::string_view::npos) end = std::max<size_t>(fittingLength(text, width), 1);
    lines += withoutBlanks(text.substr(0, end));
    lines += '\n';
    text = withoutBlanks(text.substr(end));
  }
  lines += text;
  return lines;
}

int messageInto(char* buffer, int16_t capacity, int16_t lineWidth, const sqlca& area) {
  std::string text = orv::messageOf(area);
  if (text.empty()) {
    buffer[0] = '\0';
    return 0;
  }
  if (lineWidth > 0) text = wrapped(text, static_cast<size_t>(lineWidth));
  text += '\n';
  const size_t length = fittingLength(text, static_cast<size_t>(capacity) - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}

}  // namespace

int sqlaintp_api(char* buffer, int16_t capacity, int16_t lineWidth, const char*,
                 const sqlca* area) {
  if (!buffer || !area || capacity < 1) return -1;
  try {
    return messageInto(buffer, capacity, lineWidth, *area);
  } catch (...) {  // no memory for the text: there is none
    buffer[0] = '\0';
    return 0;
  }
}

int sqlabndx(const char* bindFile, const char*, const sqlopt*, sqlca* area) {
  if (!area) return -1;
  orv::bindInto(bindFile, *area);
  return area->sqlcode;
}
