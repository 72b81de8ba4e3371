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
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr char kModule[] = "qrkgenxml";
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

// The code of a failure that brought none.
int failureCode(int code) {
  return code < 0 ? code : codeOf(Msg::QRKG006E);
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
    if (int code = openOutputs()) return code;
    if (int code = takeNumbers()) return code;
    if (int code = takeMapping()) return code;
    if (int code = takeTable()) return code;
    if (int code = takeOverride()) return code;
    if (int code = splitTableName()) return code;
    if (int code = takeColumns()) return code;
    return compose();
  }

 private:
  int openOutputs();
  int takeNumbers();
  int takeText(int position, std::string& text);
  int takeMapping();
  int takeTable();
  int takeOverride();
  int splitTableName();
  int takeColumns();
  int takeColumn(int position, char* name, bool mayBeBlank);
  int compose();
  void deliver(int32_t count, int32_t length, int32_t valid);

  const Form& form_;
  CallParameters& parameters_;
  Call& call_;
  QrkStruct* ctx_;
  size_t overrideSize_;
  OutBuffer dad_;
  DocumentArea document_;
  int32_t overrideType_ = 0;
  int32_t maxRows_ = 0;
  std::string table_;
  std::string override_;
  char schema_[kSchemaSize] = "";
  char tableName_[kNameSize] = "";
  char column_[kNameSize] = "";
  char validColumn_[kNameSize] = "";
};

// Until a document is there, nothing has come out.
int ComposeCall::openOutputs() {
  if (!form_.toTable) {
    if (int code = parameters_.documentOutput(call_, form_.document(), document_)) return code;
    if (int code = parameters_.checkIntegerOutput(call_, form_.valid())) return code;
    document_.setLength(0);
    parameters_.setInteger(form_.valid(), -1);
  }
  if (int code = parameters_.checkIntegerOutput(call_, form_.count())) return code;
  parameters_.setInteger(form_.count(), 0);
  setIndicator(parameters_.indicator(form_.count()), 0);
  return 0;
}

int ComposeCall::takeNumbers() {
  const bool tableMissing = form_.toTable && parameters_.isNull(Form::kTable);
  if (parameters_.isNull(Form::kSource) || tableMissing) return fail(call_, Msg::QRKG004E);
  if (int code = parameters_.integer(call_, form_.overrideType(), overrideType_)) return code;
  QRK_TRACE(ctx_, "override type:%d", overrideType_);
  if (form_.toTable) {
    if (int code = parameters_.integer(call_, form_.maxRows(), maxRows_)) return code;
    QRK_TRACE(ctx_, "m:%d", maxRows_);
  }
  const bool overrideMissing = overrideType_ != 0 && parameters_.isNull(form_.override());
  return maxRows_ < 0 || overrideMissing ? fail(call_, Msg::QRKG004E) : 0;
}

// A text that stands before its first NUL; one that goes on behind it would be cut.
int ComposeCall::takeText(int position, std::string& text) {
  ParameterBytes value;
  if (int code = parameters_.bytes(call_, position, value)) return code;
  const auto length = static_cast<size_t>(value.length);
  text.assign(value.data, strnlen(value.data, length));
  return hasTextAfterNul(value.data, length) ? fail(call_, Msg::QRKQ054E, text) : 0;
}

int ComposeCall::takeMapping() {
  if (!form_.byName) {
    ParameterBytes dad;
    if (int code = parameters_.bytes(call_, Form::kSource, dad)) return code;
    QRK_TRACE(ctx_, "dad length:%d", dad.length);
    return fillBuffer(call_, dad_, dad.data, dad.length);
  }
  std::string name;
  if (int code = takeText(Form::kSource, name)) return code;
  QRK_TRACE(ctx_, "collectionName:%s", name.c_str());
  int code = 0;
  if (qrkFetchDAD(ctx_, name.c_str(), dad_.get(), call_.msg, &code) == 0) return 0;
  return failureCode(code);
}

int ComposeCall::takeTable() {
  if (!form_.toTable) return 0;
  const int code = takeText(Form::kTable, table_);
  QRK_TRACE(ctx_, "result table name:%s, len:%zu, rc:%d", table_.c_str(), table_.size(), code);
  return code;
}

int ComposeCall::takeOverride() {
  if (overrideType_ == 0) return 0;
  const int code = takeText(form_.override(), override_);
  QRK_TRACE(ctx_, "override:%s, len:%zu, rc:%d", override_.c_str(), override_.size(), code);
  if (code != 0) return code;
  if (override_.size() < overrideSize_) return 0;
  return fail(call_, Msg::QRKG017E, "override", buildStamp(), kModule, __LINE__);
}

int ComposeCall::splitTableName() {
  if (!form_.toTable) return 0;
  const int rc = qrkParseQualTbl(ctx_, table_.c_str(), schema_, kSchemaSize, tableName_, kNameSize);
  return rc == 0 ? 0 : fail(call_, Msg::QRKQ009E, table_);
}

int ComposeCall::takeColumns() {
  if (!form_.namesColumns) return 0;
  if (int code = takeColumn(Form::kColumn, column_, false)) return code;
  return takeColumn(Form::kValidColumn, validColumn_, true);
}

int ComposeCall::takeColumn(int position, char* name, bool mayBeBlank) {
  if (parameters_.isNull(position)) return mayBeBlank ? 0 : fail(call_, Msg::QRKQ054E, "NULL");
  std::string text;
  if (int code = takeText(position, text)) return code;
  if (qrkParseCol(ctx_, text.c_str(), name, kNameSize) == 0) return 0;
  if (!mayBeBlank || !isBlank(text)) return fail(call_, Msg::QRKQ054E, text);
  *name = '\0';
  return 0;
}

int ComposeCall::compose() {
  const char* const dad = qrkBufGetContent(ctx_, dad_.get());
  if (!dad) return failInternal(call_.report(), kModule, __LINE__);
  const bool toTable = form_.toTable;
  int32_t count = 0;
  int32_t length = document_.capacity;
  int32_t valid = -1;
  int32_t code = 0;
  QRK_TRACE(ctx_, "before qrkcomposexml");
  const int rc = qrkComposeXML(ctx_, dad, dad_->loctype, toTable ? table_.c_str() : nullptr,
                               toTable ? schema_ : nullptr, toTable ? tableName_ : nullptr,
                               *column_ ? column_ : nullptr, *validColumn_ ? validColumn_ : nullptr,
                               overrideType_, override_.c_str(), maxRows_, &count, document_.data,
                               toTable ? nullptr : &length, toTable ? nullptr : &valid, &code,
                               call_.msg, form_.namesColumns ? 0 : 1);
  QRK_TRACE(ctx_, "call qrkComposeXML() returns %d.", rc);
  if (form_.byName) {
    QRK_TRACE(ctx_, "call qrkComposeXML() errCode %d, errMsg:%s.", code, call_.msg);
  }
  if (rc != 0) return failureCode(code);
  if (code >= 0) deliver(count, length, valid);
  return code;
}

void ComposeCall::deliver(int32_t count, int32_t length, int32_t valid) {
  parameters_.setInteger(form_.count(), count);
  if (form_.toTable) return;
  document_.setLength(length);
  setIndicator(parameters_.indicator(form_.document()), 0);
  parameters_.setInteger(form_.valid(), valid);
  if (valid != -1) setIndicator(parameters_.indicator(form_.valid()), 0);
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

int composeToReceiver(Call& call, const ComposeRequest& request, DocumentReceiver& receiver,
                      int32_t& documents) {
  QrkStruct* const ctx = &call.ctx;
  const bool overrideMissing = request.overrideType != 0 && !request.override;
  if (overrideMissing || (!request.dad && !request.collection) || request.maxRows < 0) {
    return fail(call, Msg::QRKG004E);
  }
  OutBuffer dad(ctx);
  int code = 0;
  if (!request.dad) {
    if (qrkFetchDAD(ctx, request.collection, dad.get(), call.msg, &code)) return failureCode(code);
  } else if (request.dadSize > INT32_MAX) {
    return fail(call, Msg::QRKG017E, "dad", buildStamp(), kModule, __LINE__);
  } else if (int rc = fillBuffer(call, dad, request.dad, static_cast<int>(request.dadSize))) {
    return rc;
  }
  const char* const text = qrkBufGetContent(ctx, dad.get());
  if (!text) return failInternal(call.report(), kModule, __LINE__);
  const int rc =
      qrkComposeTo(ctx, text, dad->loctype, request, receiver, &documents, &code, call.msg);
  return rc != 0 ? failureCode(code) : code;
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
