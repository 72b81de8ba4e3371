// The exported composition procedures: they take their parameters, in the order in which these are
// judged, load the mapping, call the driver and hand its results out.
#include "orvxml/procedures.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "orvxml/compose_documents.h"
#include "orvxml/trace.h"
#include "src/compose/call_parameters.h"
#include "src/compose/composition.h"
#include "src/compose/fetch_dad.h"
#include "src/outcome/failure.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr int kSchemaSize = 31;  // bytes, terminator included
constexpr int kNameSize = 129;
constexpr size_t kOverrideSize = 32673;  // bytes of an override with its terminator
constexpr size_t kClobOverrideSize = 32763;
constexpr size_t kNoOverrideSize = SIZE_MAX;

// Which procedure of the family this is, and where its parameters stand.
struct Form {
  bool byName;        // the mapping of a collection, not one that the caller passes
  bool toTable;       // rows of a result table, not one CLOB
  bool namesColumns;  // with resultColumn and validColumn
  ProcedureInfo info = {Msg::QRKQ020I, inputs(), toTable ? 3 : 5, true};

  static constexpr int kSource = 0;
  static constexpr int kTable = 1;
  static constexpr int kColumn = 2;
  static constexpr int kValidColumn = 3;
  constexpr int overrideType() const { return !toTable ? 1 : namesColumns ? 4 : 2; }
  constexpr int override() const { return overrideType() + 1; }
  constexpr int maxRows() const { return overrideType() + 2; }
  constexpr int inputs() const { return overrideType() + (toTable ? 3 : 2); }
  constexpr int document() const { return inputs(); }
  constexpr int valid() const { return inputs() + 1; }
  constexpr int count() const { return inputs() + (toTable ? 0 : 2); }
};

constexpr Form kGenXml{false, true, false};
constexpr Form kGenXml2{false, true, true};
constexpr Form kGenXmlClob{false, false, false};
constexpr Form kRetrieveXml{true, true, false};
constexpr Form kRetrieveXml2{true, true, true};
constexpr Form kRetrieveXmlClob{true, false, false};

const char* contentOf(QrkStruct* ctx, OutBuffer& buffer) {
  const char* const content = qrkBufGetContent(ctx, buffer.get());
  if (!content) throw Failure::internal();
  return content;
}

bool isBlank(const std::string& text) {
  return text.find_first_not_of(" \n\t\r") == std::string::npos;
}

// One call: the steps share what has been taken from the parameters.
class ComposeCall {
 public:
  ComposeCall(const Form& form, CallParameters& parameters, Call& call, size_t overrideSize)
      : form_(form),
        parameters_(parameters),
        call_(call),
        ctx_(&call.ctx),
        overrideSize_(overrideSize),
        dad_(&call.ctx) {}

  int run() {
    openOutputs();
    takeNumbers();
    takeMapping();
    takeTable();
    takeOverride();
    splitTableName();
    takeColumns();
    const Composed composed = compose();
    const int code = report(call_.report(), composed.outcome);
    if (form_.byName) {
      QRK_TRACE(ctx_, "call qrkComposeXML() errCode %d, errMsg:%s.", code, call_.msg);
    }
    deliver(composed);
    return code;
  }

 private:
  void openOutputs();
  void takeNumbers();
  std::string takeText(int position);
  void takeMapping();
  void takeTable();
  void takeOverride();
  void splitTableName();
  void takeColumns();
  std::string takeColumn(int position, bool mayBeBlank);
  Composed compose();
  void deliver(const Composed& composed);

  const Form& form_;
  CallParameters& parameters_;
  Call& call_;
  QrkStruct* ctx_;
  size_t overrideSize_;
  OutBuffer dad_;
  DocumentArea document_;
  CompositionRequest request_;
  std::string override_;
};

// Until a document is there, nothing has come out.
void ComposeCall::openOutputs() {
  if (!form_.toTable) {
    document_ = parameters_.documentOutput(ctx_, form_.document());
    parameters_.checkIntegerOutput(ctx_, form_.valid());
    document_.setLength(0);
    parameters_.setInteger(form_.valid(), -1);
  }
  parameters_.checkIntegerOutput(ctx_, form_.count());
  parameters_.setInteger(form_.count(), 0);
  setIndicator(parameters_.indicator(form_.count()), 0);
}

void ComposeCall::takeNumbers() {
  const bool tableMissing = form_.toTable && parameters_.isNull(Form::kTable);
  if (parameters_.isNull(Form::kSource) || tableMissing) throw Failure(Msg::QRKG004E);
  request_.overrideType = parameters_.integer(ctx_, form_.overrideType());
  QRK_TRACE(ctx_, "override type:%d", request_.overrideType);
  if (form_.toTable) {
    request_.maxRows = parameters_.integer(ctx_, form_.maxRows());
    QRK_TRACE(ctx_, "m:%d", request_.maxRows);
  }
  const bool overrideMissing =
      request_.overrideType != NO_OVERRIDE && parameters_.isNull(form_.override());
  if (request_.maxRows < 0 || overrideMissing) throw Failure(Msg::QRKG004E);
}

// A text that stands before its first NUL; one that goes on behind it would be cut.
std::string ComposeCall::takeText(int position) {
  const ParameterBytes value = parameters_.bytes(ctx_, position);
  const auto length = static_cast<size_t>(value.length);
  std::string text(value.data, strnlen(value.data, length));
  if (hasTextAfterNul(value.data, length)) throw Failure(Msg::QRKQ054E, text);
  return text;
}

void ComposeCall::takeMapping() {
  if (form_.byName) {
    const std::string name = takeText(Form::kSource);
    QRK_TRACE(ctx_, "collectionName:%s", name.c_str());
    qrkFetchDAD(ctx_, name.c_str(), dad_.get());
  } else {
    const ParameterBytes dad = parameters_.bytes(ctx_, Form::kSource);
    QRK_TRACE(ctx_, "dad length:%d", dad.length);
    takeInto(call_, dad_, dad.data, dad.length);
  }
}

void ComposeCall::takeTable() {
  if (!form_.toTable) return;
  ResultTable& table = request_.table.emplace();
  table.written = takeText(Form::kTable);
  table.addsValidColumn = !form_.namesColumns;
  QRK_TRACE(ctx_, "result table name:%s, len:%zu, rc:%d", table.written.c_str(),
            table.written.size(), 0);
}

void ComposeCall::takeOverride() {
  request_.override = override_.c_str();
  if (request_.overrideType == NO_OVERRIDE) return;
  override_ = takeText(form_.override());
  QRK_TRACE(ctx_, "override:%s, len:%zu, rc:%d", override_.c_str(), override_.size(), 0);
  if (override_.size() >= overrideSize_) throw Failure::ofLimit("override");
  request_.override = override_.c_str();
}

void ComposeCall::splitTableName() {
  if (!form_.toTable) return;
  ResultTable& table = *request_.table;
  char schema[kSchemaSize] = "";
  char name[kNameSize] = "";
  if (qrkParseQualTbl(ctx_, table.written.c_str(), schema, kSchemaSize, name, kNameSize) != 0) {
    throw Failure(Msg::QRKQ009E, table.written);
  }
  table.schema = schema;
  table.name = name;
}

void ComposeCall::takeColumns() {
  if (!form_.namesColumns) return;
  request_.table->column = takeColumn(Form::kColumn, false);
  request_.table->validColumn = takeColumn(Form::kValidColumn, true);
}

std::string ComposeCall::takeColumn(int position, bool mayBeBlank) {
  if (parameters_.isNull(position)) {
    if (mayBeBlank) return "";
    throw Failure(Msg::QRKQ054E, "NULL");
  }
  const std::string text = takeText(position);
  char name[kNameSize] = "";
  if (qrkParseCol(ctx_, text.c_str(), name, kNameSize) == 0) return name;
  if (mayBeBlank && isBlank(text)) return "";
  throw Failure(Msg::QRKQ054E, text);
}

Composed ComposeCall::compose() {
  request_.dad = contentOf(ctx_, dad_);
  request_.dadLoctype = dad_->loctype;
  request_.clob = document_.data;
  request_.clobCapacity = document_.capacity;
  QRK_TRACE(ctx_, "before qrkcomposexml");
  const Composed composed = qrkComposeXML(ctx_, request_);
  QRK_TRACE(ctx_, "call qrkComposeXML() returns %d.", 0);
  return composed;
}

void ComposeCall::deliver(const Composed& composed) {
  parameters_.setInteger(form_.count(), composed.documents);
  if (form_.toTable) return;
  document_.setLength(composed.clobLength);
  setIndicator(parameters_.indicator(form_.document()), 0);
  parameters_.setInteger(form_.valid(), composed.valid);
  if (composed.valid != -1) setIndicator(parameters_.indicator(form_.valid()), 0);
}

// ---- The conventions.
int composeFromDescriptor(const Form& form, sqlda* da) {
  DescriptorParameters parameters(da);
  if (da && detail::hasParameters(da, form.info)) {
    setIndicator(parameters.indicator(form.document()), -1);
    if (!form.toTable) {
      setIndicator(parameters.indicator(form.valid()), -1);
      setIndicator(parameters.indicator(form.count()), 0);
    }
  }
  return sqldaProcedure(form.info, da, [&](Call& call) {
    return ComposeCall(form, parameters, call, kNoOverrideSize).run();
  });
}

int composeFromList(const Form& form, std::span<const ListParameter> list, const Outputs& outputs,
                    size_t overrideSize = kOverrideSize) {
  ListParameters parameters(list);
  if (!form.toTable) {
    if (clob* const document = list[static_cast<size_t>(form.document())].object) {
      document->length = 0;
    }
    setIndicator(parameters.indicator(form.document()), -1);
    parameters.setInteger(form.valid(), -1);
    setIndicator(parameters.indicator(form.valid()), -1);
  }
  parameters.setInteger(form.count(), 0);
  setIndicator(parameters.indicator(form.count()), 0);
  const int code = listProcedure(form.info, outputs, [&](Call& call) {
    return ComposeCall(form, parameters, call, overrideSize).run();
  });
  for (int i = 0; i < form.info.inputs; ++i) {
    setIndicator(parameters.indicator(i), kInputNotReturned);
  }
  return code;
}

constexpr ProcedureInfo kToReceiver{Msg::QRKQ020I, 0, 2, true};

int composeToReceiver(Call& call, const ComposeRequest& wanted, DocumentReceiver& receiver,
                      int32_t& documents) {
  QrkStruct* const ctx = &call.ctx;
  const bool overrideMissing = wanted.overrideType != NO_OVERRIDE && !wanted.override;
  if (overrideMissing || (!wanted.dad && !wanted.collection) || wanted.maxRows < 0) {
    throw Failure(Msg::QRKG004E);
  }
  OutBuffer dad(ctx);
  if (!wanted.dad) {
    qrkFetchDAD(ctx, wanted.collection, dad.get());
  } else if (wanted.dadSize > INT32_MAX) {
    throw Failure::ofLimit("dad");
  } else {
    takeInto(call, dad, wanted.dad, static_cast<int>(wanted.dadSize));
  }
  const Composed composed = qrkComposeXML(ctx, {.dad = contentOf(ctx, dad),
                                                .dadLoctype = dad->loctype,
                                                .overrideType = wanted.overrideType,
                                                .override = wanted.override,
                                                .maxRows = wanted.maxRows,
                                                .receiver = &receiver,
                                                .firstOnly = wanted.firstOnly});
  documents = composed.documents;
  return report(call.report(), composed.outcome);
}

}  // namespace

int qrkComposeDocuments(const ComposeRequest& request, DocumentReceiver& receiver,
                        ComposeResult& result) {
  static_assert(sizeof result.message == kMessageSize);
  result = {};
  return listProcedure(
      kToReceiver, {&result.code, result.message, nullptr, nullptr},
      [&](Call& call) { return composeToReceiver(call, request, receiver, result.documents); });
}

}  // namespace orvxml

extern "C" {

int qrkGenXML(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kGenXml, da);
}
int qrkGenXML2(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kGenXml2, da);
}
int qrkGenXMLClob(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kGenXmlClob, da);
}
int qrkRetrieveXML(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kRetrieveXml, da);
}
int qrkRetrieveXML2(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kRetrieveXml2, da);
}
int qrkRetrieveXMLClob(void*, void*, sqlda* da) {
  return orvxml::composeFromDescriptor(orvxml::kRetrieveXmlClob, da);
}

int qrkGenXML1_STP(clob* dadBuf, const char* resultTable, const int* overrideType,
                   const char* override, const int* maxRows, int* numRows, int* returnCode,
                   char* returnMsg, short* dadInd, short* resultTableInd, short* overrideTypeInd,
                   short* overrideInd, short* maxRowsInd, short* numRowsInd, short* returnCodeInd,
                   short* returnMsgInd) {
  const orvxml::ListParameter list[] = {
      {dadBuf, dadInd},        {resultTable, resultTableInd}, {overrideType, overrideTypeInd},
      {override, overrideInd}, {maxRows, maxRowsInd},         {numRows, numRowsInd}};
  return orvxml::composeFromList(orvxml::kGenXml, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd});
}

int qrkGenXML_STP(clob* dadBuf, const char* resultTable, const char* resultColumn,
                  const char* validColumn, const int* overrideType, const char* override,
                  const int* maxRows, int* numRows, int* returnCode, char* returnMsg, short* dadInd,
                  short* resultTableInd, short* resultColumnInd, short* validColumnInd,
                  short* overrideTypeInd, short* overrideInd, short* maxRowsInd, short* numRowsInd,
                  short* returnCodeInd, short* returnMsgInd) {
  const orvxml::ListParameter list[] = {{dadBuf, dadInd},
                                        {resultTable, resultTableInd},
                                        {resultColumn, resultColumnInd},
                                        {validColumn, validColumnInd},
                                        {overrideType, overrideTypeInd},
                                        {override, overrideInd},
                                        {maxRows, maxRowsInd},
                                        {numRows, numRowsInd}};
  return orvxml::composeFromList(orvxml::kGenXml2, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd});
}

int qrkGenXMLClob_STP(clob* dadBuf, const int* overrideType, const char* override, clob* resultDoc,
                      int* valid, int* numDocs, int* returnCode, char* returnMsg, short* dadInd,
                      short* overrideTypeInd, short* overrideInd, short* resultDocInd,
                      short* validInd, short* numDocsInd, short* returnCodeInd,
                      short* returnMsgInd) {
  const orvxml::ListParameter list[] = {{dadBuf, dadInd},        {overrideType, overrideTypeInd},
                                        {override, overrideInd}, {resultDoc, resultDocInd},
                                        {valid, validInd},       {numDocs, numDocsInd}};
  return orvxml::composeFromList(orvxml::kGenXmlClob, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd},
                                 orvxml::kClobOverrideSize);
}

int qrkRetrieveXML1_STP(const char* collectionName, const char* resultTable,
                        const int* overrideType, const char* override, const int* maxRows,
                        int* numRows, int* returnCode, char* returnMsg, short* nameInd,
                        short* resultTableInd, short* overrideTypeInd, short* overrideInd,
                        short* maxRowsInd, short* numRowsInd, short* returnCodeInd,
                        short* returnMsgInd) {
  const orvxml::ListParameter list[] = {
      {collectionName, nameInd}, {resultTable, resultTableInd}, {overrideType, overrideTypeInd},
      {override, overrideInd},   {maxRows, maxRowsInd},         {numRows, numRowsInd}};
  return orvxml::composeFromList(orvxml::kRetrieveXml, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd});
}

int qrkRetrieveXML_STP(const char* collectionName, const char* resultTable,
                       const char* resultColumn, const char* validColumn, const int* overrideType,
                       const char* override, const int* maxRows, int* numRows, int* returnCode,
                       char* returnMsg, short* nameInd, short* resultTableInd,
                       short* resultColumnInd, short* validColumnInd, short* overrideTypeInd,
                       short* overrideInd, short* maxRowsInd, short* numRowsInd,
                       short* returnCodeInd, short* returnMsgInd) {
  const orvxml::ListParameter list[] = {
      {collectionName, nameInd},       {resultTable, resultTableInd},
      {resultColumn, resultColumnInd}, {validColumn, validColumnInd},
      {overrideType, overrideTypeInd}, {override, overrideInd},
      {maxRows, maxRowsInd},           {numRows, numRowsInd}};
  return orvxml::composeFromList(orvxml::kRetrieveXml2, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd});
}

int qrkRetrieveXMLClob_STP(const char* collectionName, const int* overrideType,
                           const char* override, clob* resultDoc, int* valid, int* numDocs,
                           int* returnCode, char* returnMsg, short* nameInd, short* overrideTypeInd,
                           short* overrideInd, short* resultDocInd, short* validInd,
                           short* numDocsInd, short* returnCodeInd, short* returnMsgInd) {
  const orvxml::ListParameter list[] = {{collectionName, nameInd}, {overrideType, overrideTypeInd},
                                        {override, overrideInd},   {resultDoc, resultDocInd},
                                        {valid, validInd},         {numDocs, numDocsInd}};
  return orvxml::composeFromList(orvxml::kRetrieveXmlClob, list,
                                 {returnCode, returnMsg, returnCodeInd, returnMsgInd});
}
}
