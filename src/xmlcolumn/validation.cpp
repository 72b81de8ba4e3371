// Validation of a document with a validating SAX parser, against a DTD or a schema that the caller
// names. Nothing that the document names is opened.
#include "orvxml/validation.h"

#include <filesystem>

#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "orvxml/buffer.h"
#include "orvxml/code_pages.h"
#include "orvxml/parser_handlers.h"
#include "orvxml/trace.h"
#include "src/xmlcolumn/document_parse.h"

namespace orvxml {
namespace {

using xercesc::XMLUni;
using Path = std::filesystem::path;

constexpr char kModule[] = "qrkvalid";
constexpr int kTracedCharacters = 300;

// The parse itself, with its handlers installed but for the entity resolver.
bool validate(const Report& report, qrkSAX2XMLReaderImpl& parser, xercesc::DefaultHandler& handler,
              DocumentSource& source, bool inDbEncoding) {
  parser.setContentHandler(&handler);
  parser.setErrorHandler(&handler);
  parser.setDocumentSize(source.bytes);
  if (chooseEncoding(report, inDbEncoding, source) != 0) return false;
  return parseDocument(report, parser, *source.input);
}

// Without a supplied DTD the document's internal subset counts: its external one is read as empty,
// and every other entity of its outside is an error.
class InternalSubsetHandler : public qrkValidateHandler {
 public:
  using qrkValidateHandler::qrkValidateHandler;
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* requested) override {
    qrkNonValidateHandler outside(ctx);
    outside.systemId = systemId;
    return outside.resolveEntity(publicId, requested);
  }
};

struct Dtd {
  const char* text;  // or the name of a file, or null
  bool isText;
  bool inDbEncoding;
  const char* id;
};

bool validateByDtd(const Report& report, const char* document, bool isText, bool inDbEncoding,
                   const Dtd& dtd) {
  DocumentSource source;
  if (!openDocument(report, document, isText, source)) return false;
  qrkSAX2XMLReaderImpl parser(report.ctx);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  parser.setFeature(XMLUni::fgXercesSchema, false);
  std::u16string id;
  if (dtd.id && !toUtf16(report.ctx, dtd.id, id)) {
    fail(report, Msg::QRKD000E);
    setSqlState(report, "00000");
    return false;
  }
  std::u16string encoding;
  if (databaseEncoding(report, encoding) != 0) return false;
  const char16_t* const dtdEncoding = dtd.inDbEncoding ? encoding.c_str() : nullptr;
  qrkValidateHandler supplied(report.ctx, dtd.text, id.c_str(), dtdEncoding, dtd.isText);
  InternalSubsetHandler internal(report.ctx, nullptr, id.c_str(), nullptr, dtd.isText);
  qrkValidateHandler& handler = dtd.text ? supplied : internal;
  parser.setEntityResolver(&handler);
  return validate(report, parser, handler, source, inDbEncoding);
}

// Opens the schema, and what it includes or imports from its own folder and the folders below; the
// document's hints at other schemas and its external entities are left alone.
class SchemaFiles : public xercesc::XMLEntityResolver {
 public:
  SchemaFiles(qrkSchemaHandler& schema, qrkNonValidateHandler& document, const Path& location)
      : schema_(schema), document_(document) {
    std::error_code failure;
    folder_ = std::filesystem::weakly_canonical(location, failure).parent_path();
  }

  xercesc::InputSource* resolveEntity(xercesc::XMLResourceIdentifier* wanted) override {
    using xercesc::XMLResourceIdentifier;
    switch (wanted->getResourceIdentifierType()) {
      case XMLResourceIdentifier::SchemaGrammar:
        return schema_.resolveEntity(nullptr, wanted->getSystemId());
      case XMLResourceIdentifier::SchemaImport:
      case XMLResourceIdentifier::SchemaInclude:
      case XMLResourceIdentifier::SchemaRedefine:
        return part(wanted->getSchemaLocation(), wanted->getBaseURI());
      default:
        return document_.resolveEntity(wanted->getPublicId(), wanted->getSystemId());
    }
  }

 private:
  xercesc::InputSource* part(const XMLCh* location, const XMLCh* base) const {
    if (!location || !base || std::u16string_view(location).find(u':') != std::u16string_view::npos)
      return nullptr;
    std::error_code failure;
    const Path file =
        std::filesystem::weakly_canonical(Path(base).parent_path() / Path(location), failure);
    const auto [folderEnd, below] =
        std::mismatch(folder_.begin(), folder_.end(), file.begin(), file.end());
    if (failure || folder_.empty() || folderEnd != folder_.end() || below == file.end()) {
      return nullptr;
    }
    const std::u16string name = file.u16string();
    return inDeclaredEncoding(std::make_unique<xercesc::LocalFileInputSource>(name.c_str()))
        .release();
  }

  qrkSchemaHandler& schema_;
  qrkNonValidateHandler& document_;
  Path folder_;  // of the schema, without links
};

// Without the schema there is nothing to validate against.
bool schemaExists(const Report& report, const XMLCh* location, std::string& name) {
  uint32_t size = 0;
  if (location && toDatabase(report.ctx, location, name) &&
      qrk_getFileSize(report.ctx, name.c_str(), &size) == 0 && isfile(report.ctx, name.c_str())) {
    return true;
  }
  fail(report, Msg::QRKC001E);
  return false;
}

bool validateBySchema(const Report& report, const char* document, bool isText, bool inDbEncoding,
                      char16_t* location) {
  DocumentSource source;
  std::string name;
  if (!openDocument(report, document, isText, source)) return false;
  if (!schemaExists(report, location, name)) return false;
  qrkSAX2XMLReaderImpl parser(report.ctx);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  parser.setFeature(XMLUni::fgXercesSchema, true);
  parser.setFeature(XMLUni::fgXercesSchemaFullChecking, true);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgXercesDynamic, true);
  parser.setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation, location);
  std::u16string encoding;
  if (databaseEncoding(report, encoding) != 0) return false;
  qrkSchemaHandler schema(report.ctx, encoding.c_str(), location);
  qrkNonValidateHandler outside(report.ctx);
  SchemaFiles files(schema, outside, Path(location));
  // The first one learns of the DOCTYPE, the second one answers.
  parser.setEntityResolver(&outside);
  parser.setXMLEntityResolver(&files);
  return validate(report, parser, schema, source, inDbEncoding);
}

}  // namespace
}  // namespace orvxml

int qrkValidate(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding, char* dtd,
                int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg, int dtdInMemory) {
  using namespace orvxml;
  QRK_TRACE(ctx,
            "Entered, docLoc=%d, input_src %d, dtdid='%s' dtdinput_src %d\ndoc='%.*s'\n"
            "dtdFile='%s'\n",
            docLoc, useDbEncoding, textOrNull(dtdid), dtdInMemory, kTracedCharacters,
            textOrNull(document), textOrNull(dtd));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  return reported(report, kModule, [&] {
    return validateByDtd(report, document, docLoc != 0, useDbEncoding == 1,
                         Dtd{dtd, dtdInMemory == 1, dtdInDbEncoding == 1, dtdid});
  });
}

int qrkValidateSchema(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                      char16_t* schemaLocation, char* sqlstate, char* msg) {
  using namespace orvxml;
  QRK_TRACE(ctx, "Entered, docLoc=%d, input_src %d\ndoc='%.*s'\n", docLoc, useDbEncoding,
            kTracedCharacters, textOrNull(document));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  return reported(report, kModule, [&] {
    return validateBySchema(report, document, docLoc != 0, useDbEncoding == 1, schemaLocation);
  });
}
