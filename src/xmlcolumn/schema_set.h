// A schema with all that it includes, imports and redefines, read into memory and looked at before
// the parser gets it: the parser's own reader of schemas is neither closed to the outside nor
// bounded.
//
// Of the outside, files in the schema's folder and the folders below are read, links resolved; a
// part that lies elsewhere is left out, and what needs it does not compile. A DTD that a schema
// names reads as empty. A schema of a name space stands behind one of none that imports it, so that
// the parser finds both by one name.
#pragma once

#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>

#include "src/outcome/failure.h"
#include "src/parser/parser_handlers.h"
#include "src/xmlcolumn/schema_limits.h"

namespace orvxml {

class SchemaSet : public xercesc::XMLEntityResolver {
 public:
  using Path = std::filesystem::path;

  // `document` answers for what the document asks. Both must outlive the set.
  SchemaSet(QrkStruct* ctx, qrkNonValidateHandler& document) : ctx_(ctx), document_(document) {}

  // Reads the schema. It fails, in the file's name, when it or a part of it is missing (QRKC001E),
  // cannot be read (QRKC000E), is no XML or out of proportion (QRKQ047E).
  void load(const char16_t* location);
  xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier* wanted) override;

  bool hasDtd() const;
  // Whether a name in the parser's errors is one of this set's, and how to tell it to a user: as
  // the caller named the schema.
  bool contains(std::u16string_view systemId) const;
  std::string shownName(std::u16string_view systemId) const;
  // What to add to an error in the schema: a part that was not read. Empty: all were.
  const std::string& note() const { return note_; }

 private:
  struct File {
    Path path;          // without links
    std::u16string id;  // for the parser: the name may be in any encoding
    std::string text;
    std::vector<std::u16string> spaces = {};  // that it is scanned for
    bool hasOwnSpace = false;
  };
  // A file, for the name space that it has or gets from the file that includes it.
  struct Scan {
    Scan(const File& of, const std::u16string& space) : file(&of), content(space) {}
    const File* file;
    SchemaScan content;
  };

  File& read(const Path& path);
  void take(const SchemaPart& wanted, const Scan& from);
  void scan(File& file, const std::u16string& space);
  void requireBounds() const;
  // The file that `location` means in a schema of this base; empty when it must not be read.
  Path part(std::u16string_view location, const Path& base) const;
  File* find(const Path& path) const;
  const File* withId(std::u16string_view id) const;
  const File* fileOf(const XMLCh* location, const XMLCh* base) const;
  Failure in(std::u16string_view id, Failure failure) const;

  QrkStruct* const ctx_;
  qrkNonValidateHandler& document_;
  std::u16string location_;
  Path folder_;  // of the schema, without links
  std::deque<File> files_;
  std::map<Path, File*> byPath_;
  std::deque<Scan> scans_;
  size_t bytes_ = 0;
  std::string note_;
  std::string importing_;  // the schema that imports the named one; empty: none is needed
};

}  // namespace orvxml
