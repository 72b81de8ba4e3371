// How the inside of the server layer reports a failure: it throws SqlError, which carries the
// SQLCODE, the SQLSTATE and the message tokens. The edges (CLI, embedded SQL, session) catch it.
// The texts stand in one table, `message_texts.cpp`, one row per SQLCODE.
#pragma once

#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class SqlError : public std::exception {
 public:
  // The SQLSTATE is the table's for this SQLCODE.
  explicit SqlError(int sqlcode, std::vector<std::string> tokens = {});
  SqlError(int sqlcode, std::string_view sqlstate, std::vector<std::string> tokens);

  int sqlcode() const { return sqlcode_; }
  const std::string& sqlstate() const { return sqlstate_; }
  const std::vector<std::string>& tokens() const { return tokens_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  int sqlcode_;
  std::string sqlstate_;
  std::vector<std::string> tokens_;
  std::string text_;
};

// The failure of one value with the place where it stands ("APP.T.C", "NOTE, row 3"), in messages
// that have room for one; as it is when they have not, or `place` is empty.
SqlError atPlace(const SqlError& error, std::string place);

// The SQLSTATE of an SQLCODE ("58004" for one that the table lacks).
std::string_view sqlstateOf(int sqlcode);

// The message: "ORV0204E  \"S.T\" is an undefined name.  SQLSTATE=42704". The letter is E for
// errors, W for warnings. Tokens take the places of %1, %2, ... in the text; what stands in {} is
// left out when its token is missing.
std::string messageText(int sqlcode, std::string_view sqlstate,
                        const std::vector<std::string>& tokens);

}  // namespace orv
