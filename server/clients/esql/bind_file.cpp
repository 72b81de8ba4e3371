#include "server/clients/esql/bind_file.h"

#include <algorithm>
#include <charconv>
#include <fstream>

#include "orv/esql.h"
#include "server/values/sql_error.h"

namespace orv {
namespace {

constexpr std::string_view kFirstLine = "ORVBIND 1";
constexpr size_t kTokenLength = 8;
constexpr size_t kMaxNameLength = 128;

bool isWord(std::string_view text, size_t maxLength) {
  return !text.empty() && text.size() <= maxLength &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  c == '_';
         });
}

class BindFileReader {
 public:
  BindFileReader(std::string_view content, const std::string& name) : rest_(content), name_(name) {}

  BindFile read() {
    BindFile file;
    if (line() != kFirstLine) refuse("first line");
    file.package.name = word("package ", kMaxNameLength);
    file.package.token = word("token ", kTokenLength);
    if (file.package.token.size() != kTokenLength) refuse("token");
    const size_t count = number(field("sections "));
    for (size_t i = 0; i < count; ++i) file.sections.push_back(section());
    if (line() != "end" || !rest_.empty()) refuse("end");
    return file;
  }

 private:
  [[noreturn]] void refuse(const std::string& reason) const {
    throw SqlError(-4930, {name_, reason});
  }

  std::string_view line() {
    const size_t end = rest_.find('\n');
    if (end == std::string_view::npos) refuse("unfinished line");
    const std::string_view text = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return text;
  }

  std::string_view field(std::string_view keyword) {
    const std::string_view text = line();
    if (!text.starts_with(keyword)) refuse(std::string(keyword.substr(0, keyword.size() - 1)));
    return text.substr(keyword.size());
  }

  std::string word(std::string_view keyword, size_t maxLength) {
    const std::string_view text = field(keyword);
    if (!isWord(text, maxLength)) refuse(std::string(keyword.substr(0, keyword.size() - 1)));
    return std::string(text);
  }

  size_t number(std::string_view digits) const {
    size_t value = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size()) refuse("number");
    return value;
  }

  std::string bytes(size_t length) {
    if (length >= rest_.size() || rest_[length] != '\n') refuse("section length");
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length + 1);
    return text;
  }

  PackageSection section() {
    const std::string_view lengths = field("section ");
    const size_t blank = lengths.find(' ');
    if (blank == std::string_view::npos) refuse("section");
    const size_t nameLength = number(lengths.substr(0, blank));
    const size_t textLength = number(lengths.substr(blank + 1));
    PackageSection section{bytes(nameLength), bytes(textLength)};
    if (section.name.empty() || section.name.size() > kMaxNameLength) refuse("section name");
    return section;
  }

  std::string_view rest_;
  const std::string& name_;
};

}  // namespace

std::string formatBindFile(const BindFile& file) {
  std::string content(kFirstLine);
  content += "\npackage " + file.package.name + "\ntoken " + file.package.token + "\nsections " +
             std::to_string(file.sections.size()) + "\n";
  for (const PackageSection& section : file.sections) {
    content += "section " + std::to_string(section.name.size()) + " " +
               std::to_string(section.text.size()) + "\n" + section.name + "\n" + section.text +
               "\n";
  }
  return content + "end\n";
}

BindFile parseBindFile(std::string_view content, const std::string& name) {
  return BindFileReader(content, name).read();
}

namespace esql {

bool writeBindFile(const Module& module, const std::string& path) {
  BindFile file;
  file.package.name = module.package;
  file.package.token = module.token;
  for (const Section& section : module.sections) {
    file.sections.push_back({section.name, section.text});
  }
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream << formatBindFile(file);
  stream.close();
  return !stream.fail();
}

}  // namespace esql
}  // namespace orv
