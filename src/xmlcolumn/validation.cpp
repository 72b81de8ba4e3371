// Validation of a document with a validating SAX parser, against a DTD or a schema that the caller
// names. Nothing that the document names is opened.
#include "orvxml/validation.h"

#include <new>
#include <utility>

#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "orvxml/code_pages.h"
#include "orvxml/trace.h"
#include "src/parser/parser_handlers.h"
#include "src/xmlcolumn/bounded_validator.h"
#include "src/xmlcolumn/document_parse.h"
#include "src/xmlcolumn/judgement.h"
#include "src/xmlcolumn/schema_set.h"

namespace orvxml {
namespace {

using xercesc::XMLUni;

constexpr int kTracedCharacters = 300;

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
Judgement judge(QrkStruct* ctx, qrkSAX2XMLReaderImpl& parser, Handler& handler,
                DocumentSource& source, bool inDbEncoding, std::u16string& faulty) {
  parser.setContentHandler(&handler);
  parser.setErrorHandler(&handler);
  parser.setDocumentSize(source.bytes);
  chooseEncoding(ctx, inDbEncoding, source);
  try {
    parseDocument(ctx, parser, *source.input, &faulty);
    return {kValid};
  } catch (Failure& failure) {
    const XMLCh* const own = source.input->getSystemId();
    const bool isElsewhere = !faulty.empty() && (!own || faulty != own);
    const bool isParsed = failure.sqlState() == kParserState;
    const bool isInvalid = isParsed && (handler.metRoot() || !isElsewhere);
    return {isInvalid ? kInvalid : kNotJudged, std::move(failure)};
  }
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

Judgement foundByDtd(QrkStruct* ctx, const JudgedDocument& document, const JudgingDtd& dtd) {
  DocumentSource source = openDocument(ctx, document.text, document.isText);
  qrkSAX2XMLReaderImpl parser(ctx);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpacePrefixes, false);
  parser.setFeature(XMLUni::fgXercesSchema, false);
  std::u16string id;
  if (dtd.id && !toUtf16(ctx, dtd.id, id)) {
    return {kInvalid, Failure(Msg::QRKD000E).withState("00000")};
  }
  const std::u16string encoding = databaseEncoding(ctx);
  const char16_t* const dtdEncoding = dtd.inDbEncoding ? encoding.c_str() : nullptr;
  Judgement found;
  std::u16string faulty;
  if (dtd.text) {
    Judging<qrkValidateHandler> handler(ctx, dtd.text, id.c_str(), dtdEncoding, dtd.isText);
    parser.setEntityResolver(&handler);
    found = judge(ctx, parser, handler, source, document.inDbEncoding, faulty);
  } else {
    InternalSubsetHandler handler(ctx, nullptr, id.c_str(), nullptr, 0);
    parser.setEntityResolver(&handler);
    found = judge(ctx, parser, handler, source, document.inDbEncoding, faulty);
  }
  if (found.verdict == kNotJudged && !faulty.empty()) found.failure->inFile(dtd.name());
  return found;
}

Judgement foundBySchema(QrkStruct* ctx, const JudgedDocument& document, const char16_t* location) {
  DocumentSource source = openDocument(ctx, document.text, document.isText);
  qrkNonValidateHandler outside(ctx);
  SchemaSet schema(ctx, outside);
  schema.load(location);
  qrkSAX2XMLReaderImpl parser(ctx);
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  parser.setFeature(XMLUni::fgXercesSchema, true);
  parser.setFeature(XMLUni::fgXercesSchemaFullChecking, true);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgXercesDynamic, true);
  std::u16string name(location);
  parser.setProperty(XMLUni::fgXercesSchemaExternalNoNameSpaceSchemaLocation, name.data());
  Judging<qrkSchemaHandler> handler(ctx, databaseEncoding(ctx).c_str());
  parser.replaceSchemaValidator(
      [&](xercesc::MemoryManager* memory) { return new BoundedValidator(memory, source.bytes); },
      schema.hasDtd());
  // The first one learns of the DOCTYPE, the second one answers.
  parser.setEntityResolver(&outside);
  parser.setXMLEntityResolver(&schema);
  std::u16string faulty;
  Judgement found = judge(ctx, parser, handler, source, document.inDbEncoding, faulty);
  if (found.verdict == kNotJudged && schema.contains(faulty)) {
    found.failure->inFile(schema.shownName(faulty), schema.note());
  }
  return found;
}

template <class Work>
Judgement judged(Work&& work) {
  try {
    return work();
  } catch (Failure& failure) {
    return {kNotJudged, std::move(failure)};
  } catch (const std::bad_alloc&) {
    return {kNotJudged, Failure(Msg::QRKG002E)};
  } catch (const xercesc::OutOfMemoryException&) {
    return {kNotJudged, Failure(Msg::QRKG002E)};
  }
}

// The verdict of a call, with the outcome of one that is not kValid.
template <class Work>
int verdictOf(const Report& report, Work&& work) {
  beginOutcome(report);
  int verdict = kNotJudged;
  atEdge(report, [&] {
    const Judgement found = work();
    verdict = found.verdict;
    if (found.failure) throw *found.failure;
  });
  return verdict;
}

}  // namespace

Judgement judgeByDtd(QrkStruct* ctx, const JudgedDocument& document, const JudgingDtd& dtd) {
  return judged([&] { return foundByDtd(ctx, document, dtd); });
}

Judgement judgeBySchema(QrkStruct* ctx, const JudgedDocument& document, const char16_t* location) {
  return judged([&] { return foundBySchema(ctx, document, location); });
}

std::optional<Failure> faultOfSchema(QrkStruct* ctx, const std::u16string& location) {
  Judgement found = judgeBySchema(ctx, {"<any/>", true, true}, location.c_str());
  return found.verdict == kNotJudged ? std::move(found.failure) : std::nullopt;
}

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
  return verdictOf(report, [&] {
    return judgeByDtd(ctx, {document, docLoc != 0, useDbEncoding == 1},
                      {dtd, dtdInMemory == 1, dtdInDbEncoding == 1, dtdid});
  });
}

int qrkJudgeBySchema(orvxml::QrkStruct* ctx, char* document, int docLoc, int useDbEncoding,
                     char16_t* schemaLocation, char* sqlstate, char* msg) {
  using namespace orvxml;
  QRK_TRACE(ctx, "Entered, docLoc=%d, input_src %d\ndoc='%.*s'", docLoc, useDbEncoding,
            kTracedCharacters, textOrNull(document));
  const Report report{.ctx = ctx, .msg = msg, .sqlState = sqlstate};
  return verdictOf(report, [&] {
    return judgeBySchema(ctx, {document, docLoc != 0, useDbEncoding == 1}, schemaLocation);
  });
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
