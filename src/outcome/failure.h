// How a failure travels inside the library: it is thrown where it is understood, whoever knows more
// on its way up adds that and lets it go on, and a signature that gives a code catches it (edge.h)
// and writes code, SQLSTATE and message. Nobody in between looks at a code or writes a message.
//
//   throw Failure(Msg::QRKQ012E, name);
//
// What is held on the way is held by owners with destructors.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvxml/context.h"
#include "orvxml/notices.h"

namespace orvxml {

inline constexpr char kParserState[] = "38X13";
inline constexpr int kParserCode = -85;  // of the SQLSTATE, which stands in no row of the table

// A place in the sources: as a default argument, that of the call.
struct SourcePlace {
  const char* file;
  int line;
  static SourcePlace here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return {file, line};
  }
};

// The name that an internal error gives to a file of the sources: "decomposition" for
// src/decompose/decomposition.cpp.
std::string moduleOf(const SourcePlace& where);

// Where a failure is, as far as it is known: see the members of a Notice.
struct FailurePlace {
  FailureText text = FailureText::kNone;
  size_t mappingElement = 0;
  size_t documentElement = 0;
  std::string lacks;  // what the message does not say
  std::string file;
  uint64_t line = 0;
  uint64_t column = 0;
};

class Failure {
 public:
  // Arguments are strings and numbers, in the order of the message's placeholders.
  template <class... Args>
  explicit Failure(Msg message, const Args&... arguments)
      : message_(message),
        code_(codeOf(message)),
        sqlState_(sqlStateOf(message)),
        kind_(kindOf(message)),
        arguments_{std::string(detail::argumentText(arguments))...} {}
  // An internal error (QRKG001E) of the file and the line that made it. `module` stands in the
  // place of the file's name where the interface gives one; the file is then told beside it.
  static Failure internal(const char* module = nullptr, SourcePlace where = SourcePlace::here());
  // A limit of the library was met (QRKG017E): its name, or what exceeded it.
  static Failure ofLimit(std::string_view limit, SourcePlace where = SourcePlace::here());
  // A statement of the server failed: its own text stands in front of the message.
  template <class... Args>
  static Failure ofServer(const sqlca& area, Msg message, const Args&... arguments) {
    return Failure(message, arguments...).behind(area);
  }
  static Failure ofServerInternal(const sqlca& area, const char* module = nullptr,
                                  SourcePlace where = SourcePlace::here()) {
    return internal(module, where).behind(area);
  }
  // A message that is a text already; empty: the reporter makes an internal error of it.
  static Failure said(int code, std::string text);
  // QRKQ047E under the one SQLSTATE and code of the parser's failures.
  static Failure ofParser(std::optional<uint64_t> line, std::optional<uint64_t> column,
                          const std::string& text);

  // ---- What is known further up. Each returns the failure itself.
  Failure withCode(int code) &&;
  Failure withState(std::string_view sqlState) &&;
  // Puts `text`, or the text of `other`, behind the message.
  Failure with(std::string text) &&;
  Failure with(Failure other) &&;
  // The text that it is about, unless that is known already.
  Failure& about(FailureText text);
  // The element of the mapping or document, by its number, unless one is known already. `lacks`:
  // what the message lacks.
  Failure& atElement(FailureText text, size_t number, std::string lacks = "");
  // The schema or DTD that the message counts in, or that is missing.
  Failure& inFile(std::string file, std::string lacks = "");
  Failure ofKind(FailureKind kind) &&;
  // The server's SQLCODE and words about a failed call.
  Failure ofStatement(int sqlcode, std::string words) &&;

  Msg message() const { return message_; }  // Msg{}: of a text
  int code() const { return code_; }
  const std::string& sqlState() const { return sqlState_; }  // empty: the caller's stays
  bool is(Msg message) const { return message_ == message; }
  const std::vector<std::string>& arguments() const { return arguments_; }
  const std::optional<sqlca>& serverArea() const { return area_; }
  const std::vector<Failure>& also() const { return also_; }
  const FailurePlace& place() const { return place_; }
  // Of an internal error that names a module: where it was thrown.
  const std::string& origin() const { return origin_; }
  FailureKind kind() const { return kind_; }
  int sqlcode() const { return sqlcode_; }
  const std::string& serverWords() const { return serverWords_; }

 private:
  Failure() = default;
  Failure behind(const sqlca& area) &&;
  static FailureKind kindOf(Msg message);

  Msg message_ = Msg{};
  int code_ = 0;
  std::string sqlState_;
  FailureKind kind_ = FailureKind::kUnknown;
  FailurePlace place_;
  std::string origin_;
  std::vector<std::string> arguments_;  // of a text: the text
  std::optional<sqlca> area_;
  int sqlcode_ = 0;
  std::string serverWords_;
  std::vector<Failure> also_;  // whose texts stand behind
};

// Runs `work`; a failure that is not known to be about a text is about this one.
template <class Work>
decltype(auto) about(FailureText text, Work&& work) {
  try {
    return work();
  } catch (Failure& failure) {
    failure.about(text);
    throw;
  }
}

}  // namespace orvxml
