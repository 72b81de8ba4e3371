#include "src/xmlcolumn/schema_set.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "orvxml/code_pages.h"
#include "src/parser/parser_failures.h"
#include "src/text/markup.h"
#include "src/xmlcolumn/document_parse.h"
#include "src/xmlcolumn/notice_text.h"

namespace orvxml {
namespace {

constexpr size_t kMaxSchemaBytes = size_t{64} * 1024 * 1024;  // of all files
constexpr size_t kMaxSchemaFiles = 1000;
constexpr char16_t kImportingId[] = u"IdForImportingSchema";

class Descriptor {
 public:
  // Whatever is no file must not be waited for.
  explicit Descriptor(const SchemaSet::Path& path)
      : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

bool readAll(int fd, size_t limit, std::string& text) {
  struct stat status {};
  if (::fstat(fd, &status) != 0 || static_cast<uint64_t>(status.st_size) > limit) return false;
  text.resize(static_cast<size_t>(status.st_size));
  size_t taken = 0;
  while (taken < text.size()) {
    const ssize_t got = ::read(fd, text.data() + taken, text.size() - taken);
    if (got <= 0) return false;
    taken += static_cast<size_t>(got);
  }
  return true;
}

bool isRegular(const SchemaSet::Path& path) {
  std::error_code failure;
  return std::filesystem::is_regular_file(path, failure);
}

// %XX as the byte, for a location is a URI.
std::string decoded(std::string_view uri) {
  std::string out;
  for (size_t i = 0; i < uri.size(); ++i) {
    const std::string hex(uri.substr(std::min(i + 1, uri.size()), 2));
    const bool isEscape = uri[i] == '%' && hex.size() == 2 &&
                          hex.find_first_not_of("0123456789abcdefABCDEF") == hex.npos;
    out += isEscape ? static_cast<char>(std::stoi(hex, nullptr, 16)) : uri[i];
    if (isEscape) i += 2;
  }
  return out;
}

}  // namespace

Failure SchemaSet::in(std::u16string_view id, Failure failure) const {
  failure.inFile(shownName(id));
  return failure;
}

void SchemaSet::load(const char16_t* location) {
  location_ = location ? location : u"";
  // The name as the database writes it, or else in UTF-8, as most names of files are.
  std::string name;
  const bool converts = toDatabase(ctx_, location_, name);
  Path named(converts ? name : std::string());
  if (!isRegular(named)) named = utf8Text(location_);
  std::error_code failure;
  if (!isRegular(named)) throw in({}, Failure(Msg::QRKC001E));
  // A file that is open and has lost its name has none without links.
  Path path = std::filesystem::canonical(named, failure);
  if (failure) path = named;
  folder_ = path.parent_path();
  scan(read(path), {});
  for (size_t i = 0; i < scans_.size(); ++i) {
    for (const SchemaPart& wanted : scans_[i].content.parts()) take(wanted, scans_[i]);
  }
  requireBounds();
  const std::u16string& space = scans_.front().content.targetNamespace();
  if (space.empty()) return;
  std::u16string escaped;
  appendEscaped(escaped, space);
  importing_ = "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"><xs:import namespace=\"" +
               utf8Text(escaped) + "\" schemaLocation=\"schema\"/></xs:schema>";
}

void SchemaSet::take(const SchemaPart& wanted, const Scan& from) {
  const Path path = part(wanted.location, from.file->path);
  if (path.empty()) {
    if (!wanted.location.empty() && note_.empty()) {
      note_ = "'" + utf8Text(wanted.location) +
              "' is not read: no file in the schema's folder or below";
    }
    return;
  }
  File* const known = find(path);
  scan(known ? *known : read(path),
       wanted.isImport ? std::u16string() : from.content.targetNamespace());
}

void SchemaSet::requireBounds() const {
  std::vector<const SchemaScan*> scans;
  for (const Scan& scan : scans_) scans.push_back(&scan.content);
  const std::optional<SchemaExcess> excess = excessOf(scans);
  if (!excess) return;
  const auto faulty = std::find_if(scans_.begin(), scans_.end(),
                                   [&](const Scan& scan) { return &scan.content == excess->file; });
  const auto known = [&](uint64_t number) {
    return excess->line > 0 ? std::optional<uint64_t>(number) : std::nullopt;
  };
  throw in(faulty == scans_.end() ? std::u16string_view() : faulty->file->id,
           parserFailure(ctx_, known(excess->line), known(excess->column), excess->reason));
}

SchemaSet::File& SchemaSet::read(const Path& path) {
  const std::string id = "IdForSchemaFile" + std::to_string(files_.size());
  File& file = files_.emplace_back();
  file.path = path;
  file.id.assign(id.begin(), id.end());
  byPath_[path] = &file;
  const Descriptor descriptor(path);
  if (descriptor.get() < 0) throw in(file.id, Failure(Msg::QRKC000E));
  if (!readAll(descriptor.get(), kMaxSchemaBytes - bytes_, file.text)) {
    throw in(file.id, parserFailure(ctx_, {}, {}, "The schema is too large, or cannot be read."));
  }
  bytes_ += file.text.size();
  return file;
}

void SchemaSet::scan(File& file, const std::u16string& space) {
  if (file.hasOwnSpace ||
      std::find(file.spaces.begin(), file.spaces.end(), space) != file.spaces.end()) {
    return;
  }
  if (scans_.size() == kMaxSchemaFiles) {
    throw in(file.id, parserFailure(ctx_, {}, {}, "The schema has too many files."));
  }
  file.spaces.push_back(space);
  SchemaScan& content = scans_.emplace_back(file, space).content;
  DocumentSource source{memorySource(file.text, file.id.c_str()), file.text.size()};
  try {
    readDocument(ctx_, source, false, content, nullptr);
  } catch (Failure& failure) {
    failure.inFile(shownName(file.id));
    throw;
  }
  file.hasOwnSpace = !content.isOfNoSpace();
}

SchemaSet::Path SchemaSet::part(std::u16string_view location, const Path& base) const {
  if (location.empty() || location.find(u':') != location.npos) return {};
  const std::string written = utf8Text(location);
  for (const std::string& name : {written, decoded(written)}) {
    std::error_code failure;
    const Path file = std::filesystem::weakly_canonical(base.parent_path() / name, failure);
    if (failure || !isRegular(file)) continue;
    const auto [folderEnd, below] =
        std::mismatch(folder_.begin(), folder_.end(), file.begin(), file.end());
    return folderEnd == folder_.end() && below != file.end() ? file : Path();
  }
  return {};
}

SchemaSet::File* SchemaSet::find(const Path& path) const {
  const auto found = byPath_.find(path);
  return found == byPath_.end() ? nullptr : found->second;
}

const SchemaSet::File* SchemaSet::fileOf(const XMLCh* location, const XMLCh* base) const {
  if (!location || !base) return nullptr;
  if (std::u16string_view(base) == kImportingId) return &files_.front();
  const File* const from = withId(base);
  return from ? find(part(location, from->path)) : nullptr;
}

xercesc::InputSource* SchemaSet::resolveEntity(xercesc::XMLResourceIdentifier* wanted) {
  using xercesc::XMLResourceIdentifier;
  static const std::string kNothing;
  const File* file = nullptr;
  switch (wanted->getResourceIdentifierType()) {
    case XMLResourceIdentifier::SchemaGrammar:
      if (!wanted->getSystemId() || location_ != wanted->getSystemId()) return nullptr;
      if (!importing_.empty()) return memorySource(importing_, kImportingId).release();
      file = &files_.front();
      break;
    case XMLResourceIdentifier::SchemaImport:
    case XMLResourceIdentifier::SchemaInclude:
    case XMLResourceIdentifier::SchemaRedefine:
      file = fileOf(wanted->getSchemaLocation(), wanted->getBaseURI());
      break;
    default:
      // Nothing but the DTD of a schema is left to ask for: its entities have been refused.
      if (wanted->getBaseURI() && contains(wanted->getBaseURI())) {
        return memorySource(kNothing, u"IdForEmptyBuffer").release();
      }
      return document_.resolveEntity(wanted->getPublicId(), wanted->getSystemId());
  }
  if (!file) return nullptr;
  return inDeclaredEncoding(memorySource(file->text, file->id.c_str())).release();
}

const SchemaSet::File* SchemaSet::withId(std::u16string_view id) const {
  const auto found =
      std::find_if(files_.begin(), files_.end(), [&](const File& file) { return file.id == id; });
  return found == files_.end() ? nullptr : &*found;
}

bool SchemaSet::hasDtd() const {
  return std::any_of(scans_.begin(), scans_.end(),
                     [](const Scan& scan) { return scan.content.hasDtd(); });
}

bool SchemaSet::contains(std::u16string_view systemId) const {
  return systemId == kImportingId || withId(systemId);
}

std::string SchemaSet::shownName(std::u16string_view systemId) const {
  const File* const file = withId(systemId);
  if (!file || file == &files_.front()) return utf8Text(location_);
  const Path folder = Path(utf8Text(location_)).parent_path();
  return (folder / file->path.lexically_relative(folder_)).string();
}

}  // namespace orvxml
