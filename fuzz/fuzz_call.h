// What the fuzz targets share: the call of a function, lines of the input, and what must hold.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "orvxml/context.h"

namespace orvxml::fuzz {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", what);
  std::abort();
}

// The input up to a line feed, which is taken with it.
inline std::string takeLine(std::string_view& input) {
  const size_t end = input.find('\n');
  const std::string line(input.substr(0, end));
  input.remove_prefix(end == input.npos ? input.size() : end + 1);
  return line;
}

// An encoding of applications and a code page of databases. In the input a letter stands for a row.
struct CodePageChoice {
  const char* encoding;
  int codePage;
};
inline constexpr CodePageChoice kCodePages[] = {
    {"UTF-8", 1208},     {"ISO-8859-1", 819}, {"US-ASCII", 367},     {"cp943c", 943},
    {"EUC-JP", 954},     {"Big5", 950},       {"EUC-KR", 970},       {"GB18030", 1392},
    {"UTF-16BE", 1200},  {"UTF-16LE", 1202},  {"UTF-16", 1204},      {"windows-1252", 1252},
    {"ISO-2022-JP", 37}, {"HZ", 1383},        {"ebcdic-cp-us", 500}, {"UTF-32", 1208},
};
inline const CodePageChoice& chosen(char character) {
  return kCodePages[static_cast<unsigned char>(character - 'A') % std::size(kCodePages)];
}

class FunctionCall {
 public:
  explicit FunctionCall(const char* encoding = "UTF-8", int codePage = 1208) {
    setenv("ORVINSTANCE", "orvxmlfuzz", 1);
    sqludf_dbinfo database{};
    database.codepage = codePage;
    std::string name = encoding;
    require(qrkInit(&ctx, CALL_FROM_UDF, &database, state, name.data()) == 0,
            "a call begins with every code page of the table");
  }
  ~FunctionCall() { qrkExit(&ctx, state); }
  FunctionCall(const FunctionCall&) = delete;
  FunctionCall& operator=(const FunctionCall&) = delete;

  // The outcome of a call that answered `rc`: a success without, a failure with all its parts.
  void judge(int rc) const {
    const std::string_view text(msg);
    const bool hasState = std::string_view(state).size() == 5 && std::string_view(state) != "00000";
    if (rc == 0) return require(!hasState, "a success has the SQLSTATE of one");
    require(hasState, "a failure has an SQLSTATE");
    require(text.starts_with("QRK") && text.ends_with('\n'), "a failure has a message");
    require(text.size() <= kUdfMessageSize, "a message for a function fits its field");
  }
  void clear() {
    state[0] = 0;
    msg[0] = 0;
  }

  QrkStruct ctx{};
  char state[kSqlStateSize] = "";
  char msg[kMessageSize] = "";
};

}  // namespace orvxml::fuzz
