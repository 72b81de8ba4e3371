#include "server/clients/esql/services.h"

#include <fstream>
#include <iterator>
#include <optional>

#include "server/clients/esql/bind_file.h"
#include "server/clients/esql/runtime.h"

namespace orv {
namespace {

constexpr std::streamoff kMaxFileSize = 64 << 20;

std::string readFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = stream ? std::streamoff{stream.tellg()} : -1;
  if (size < 0 || size > kMaxFileSize) throw SqlError(-4, {path});
  std::string content(static_cast<size_t>(size), '\0');
  stream.seekg(0);
  stream.read(content.data(), size);
  if (!stream) throw SqlError(-4, {path});
  return content;
}

std::string folderOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

bool isList(const std::string& path) {
  const size_t name = folderOf(path).size();
  return name < path.size() && path[name] == '@';
}

// The files of a list: one a line or joined by '+', blanks around them ignored.
std::vector<std::string> filesOfList(const std::string& path) {
  const std::string content = readFile(path);
  const std::string folder = folderOf(path);
  std::vector<std::string> files;
  for (size_t at = 0; at < content.size();) {
    const size_t start = content.find_first_not_of("+\r\n\t ", at);
    if (start == std::string::npos) break;
    const size_t end = std::min(content.find_first_of("+\r\n\t ", start), content.size());
    const std::string name = content.substr(start, end - start);
    files.push_back(name.front() == '/' ? name : folder + name);
    at = end;
  }
  if (files.empty()) throw SqlError(-4930, {path, "empty list"});
  return files;
}

// All files are read and checked before the first is bound: a list is bound as a whole.
void bindAll(SessionState& session, const std::string& path) {
  std::vector<BindFile> files;
  for (const std::string& file : isList(path) ? filesOfList(path) : std::vector{path}) {
    files.push_back(parseBindFile(readFile(file), file));
    files.back().package.qualifier = esql::kPackageQualifier;
  }
  for (const BindFile& file : files) session.bindPackage(file.package, file.sections);
}

}  // namespace

std::string messageOf(const sqlca& area) {
  if (area.sqlcode == 0) return {};
  return messageText(area.sqlcode, std::string_view(area.sqlstate, sizeof area.sqlstate),
                     tokensOf(area));
}

void bindInto(const char* path, sqlca& area) {
  esql::reporting(area, [&] {
    SessionState& session = requireSession();
    if (!path || !*path) throw SqlError(-4, {""});
    bindAll(session, path);
  });
}

}  // namespace orv
