// Validation of a document with a validating SAX parser, against a DTD or a schema that the caller
// names. Nothing that the document names is opened.
#include "orvxml/validation.h"

#include <cstring>

#include <xercesc/util/XMLUni.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/parser/parser_handlers.h"
#include "src/xmlcolumn/bounded_validator.h"
#include "src/xmlcolumn/document_parse.h"
#include "src/xmlcolumn/schema_set.h"

namespace orvxml {
namespace {

using xercesc::XMLUni;

constexpr char kModule[] = "qrkvalid";
constexpr int kTracedCharacters = 300;

struct Document {
  const char* text;  // or the name of a file
  bool isText;
  bool inDbEncoding;
};

// Knows whether the document's root has been met: what is wrong before, in another file, is wrong
// with what the document is judged by.
template <class Base>
class Judging : public Base {
 public:
  using Base::Base;
  void startElement(const XMLCh*, const XMLCh*, const XMLCh*, const xercesc::Attributes&) override {
    metRoot_ = true;
  }
  bool metRoot() const { return metRoot_; }

 private:
  bool metRoot_ = false;
};

// The parse itself, with its handlers installed but for the entity resolver. `faulty` is the file
// in which it ended early, as the parser names it.
template <class Handler>
int judge(const Report& report, qrkSAX2XMLReaderImpl& parser, Handler& handler,
          DocumentSource& source, bool inDbEncoding, std::u16string& faulty) {
  parser.setContentHandler(&handler);
  parser.setErrorHandler(&handler);
  parser.setDocumentSize(source.bytes);
  if (chooseEncoding(report, inDbEncoding, source) != 0) return kNotJudged;
  if (parseDocument(report, parser, *source.input, &faulty)) return kValid;
  const XMLCh* const own = source.input->getSystemId();
  const bool isElsewhere = !faulty.empty() && (!own || faulty != own);
  const bool isParsed = !report.sqlState || std::strcmp(report.sqlState, kParserState) == 0;
  return isParsed && (handler.metRoot() || !isElsewhere) ? kInvalid : kNotJudged;
}

// Without a supplied DTD the document's internal subset counts: its external one is read as empty,
// and every other entity of its outside is an error.
class InternalSubsetHandler : public Judging<qrkValidateHandler> {
 public:
  using Judging::Judging;
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

  std::string name() const {
    const char* const file = isText ? id : text;
    return file ? file : "";
  }
};

int judgeByDtd(const Report& report, const Document& document, const Dtd& dtd) {
  DocumentSource source;
  if (!openDocument(report, document.text, document.isText, source)) return kNotJudged;
  qrkSAX2XMLReaderImpl parser(report.ctx);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  parser.setFeature(XMLUni::fgXercesSchema, false);
  std::u16string id;
  if (dtd.id && !toUtf16(report.ctx, dtd.id, id)) {
    fail(report, Msg::QRKD000E);
    setSqlState(report, "00000");
    return kInvalid;
  }
  std::u16string encoding;
  if (databaseEncoding(report, encoding) != 0) return kNotJudged;
  const char16_t* const dtdEncoding = dtd.inDbEncoding ? encoding.c_str() : nullptr;
  std::u16string faulty;
  int verdict = kNotJudged;
  if (dtd.text) {
    Judging<qrkValidateHandler> handler(report.ctx, dtd.text, id.c_str(), dtdEncoding, dtd.isText);
    parser.setEntityResolver(&handler);
    verdict = judge(report, parser, handler, source, document.inDbEncoding, faulty);
  } else {
    InternalSubsetHandler handler(report.ctx, nullptr, id.c_str(), nullptr, 0);
    parser.setEntityResolver(&handler);
    verdict = judge(report, parser, handler, source, document.inDbEncoding, faulty);
  }
  if (verdict == kNotJudged && !faulty.empty()) tellFaultyFile(dtd.name());
  return verdict;
}

int judgeBySchema(const Report& report, const Document& document, const char16_t* location) {
  DocumentSource source;
  if (!openDocument(report, document.text, document.isText, source)) return kNotJudged;
  qrkNonValidateHandler outside(report.ctx);
  SchemaSet schema(report, outside);
  if (!schema.load(location)) return kNotJudged;
  qrkSAX2XMLReaderImpl parser(report.ctx);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  parser.setFeature(XMLUni::fgXercesSchema, true);
  parser.setFeature(XMLUni::fgXercesSchemaFullChecking, true);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgXercesDynamic, true);
  std::u16string name(location);
  parser.setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation, name.data());
  std::u16string encoding;
  if (databaseEncoding(report, encoding) != 0) return kNotJudged;
  Judging<qrkSchemaHandler> handler(report.ctx, encoding.c_str());
  parser.replaceSchemaValidator(
      [&](xercesc::MemoryManager* memory) { return new BoundedValidator(memory, source.bytes); },
      schema.hasDtd());
  // The first one learns of the DOCTYPE, the second one answers.
  parser.setEntityResolver(&outside);
  parser.setXMLEntityResolver(&schema);
  std::u16string faulty;
  const int verdict = judge(report, parser, handler, source, document.inDbEncoding, faulty);
  if (verdict == kNotJudged && schema.contains(faulty))
    tellFaultyFile(schema.shownName(faulty), schema.note());
  return verdict;
}

}  // namespace
}  // namespace orvxml

int qrkJudge(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding, char* dtd,
             int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg, int dtdInMemory) {
  using namespace orvxml;
  QRK_TRACE(ctx,
            "Entered, docLoc=%d, input_src %d, dtdid='%s' dtdinput_src %d\ndoc='%.*s'\n"
            "dtdFile='%s'",
            docLoc, useDbEncoding, textOrNull(dtdid), dtdInMemory, kTracedCharacters,
            textOrNull(document), textOrNull(dtd));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  int verdict = kNotJudged;
  reported(report, kModule, [&] {
    verdict = judgeByDtd(report, {document, docLoc != 0, useDbEncoding == 1},
                         {dtd, dtdInMemory == 1, dtdInDbEncoding == 1, dtdid});
    return true;
  });
  return verdict;
}

int qrkJudgeBySchema(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                     char16_t* schemaLocation, char* sqlstate, char* msg) {
  using namespace orvxml;
  QRK_TRACE(ctx, "Entered, docLoc=%d, input_src %d\ndoc='%.*s'", docLoc, useDbEncoding,
            kTracedCharacters, textOrNull(document));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  int verdict = kNotJudged;
  reported(report, kModule, [&] {
    verdict = judgeBySchema(report, {document, docLoc != 0, useDbEncoding == 1}, schemaLocation);
    return true;
  });
  return verdict;
}

int qrkValidate(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding, char* dtd,
                int dtdInDbEncoding, char* dtdid, char* sqlstate, char* msg, int dtdInMemory) {
  return qrkJudge(ctx, document, docLoc, useDbEncoding, dtd, dtdInDbEncoding, dtdid, sqlstate, msg,
                  dtdInMemory) == orvxml::kValid;
}

int qrkValidateSchema(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                      char16_t* schemaLocation, char* sqlstate, char* msg) {
  return qrkJudgeBySchema(ctx, document, docLoc, useDbEncoding, schemaLocation, sqlstate, msg) ==
         orvxml::kValid;
}
