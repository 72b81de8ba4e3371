// The exported decomposition procedures: they unpack, call and report.
#include "orvxml/procedures.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "orvxml/buffer.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"
#include "src/call/procedure_frame.h"
#include "src/decompose/decomposition.h"

namespace orvxml {

namespace {

constexpr ProcedureInfo kDecompose{Msg::QRKQ025I, 2};
constexpr int kTracedBytes = 100;

int fillDad(Call& call, OutBuffer& dad, sqlda* da) {
  char* data = nullptr;
  int length = 0;
  int code = 0;
  if (qrkGetStProcParam(&call.ctx, da, 0, &data, &length, &code, call.msg) != 0) return code;
  QRK_TRACE(&call.ctx, "dad length:%d", length);
  QRK_TRACE(&call.ctx, "dad varchar data:'%.*s...'", std::min(length, kTracedBytes), data);
  return fillBuffer(call, dad, data, length);
}

int fillDocument(Call& call, OutBuffer& document, sqlda* da) {
  char* data = nullptr;
  int length = 0;
  int code = 0;
  const int rc = qrkGetStProcParam(&call.ctx, da, 1, &data, &length, &code, call.msg);
  QRK_TRACE(&call.ctx, "xml file length:%d, rc:%d", length, rc);
  if (rc != 0) return code;
  QRK_TRACE(&call.ctx, "xml file:'%.*s...'", std::min(length, kTracedBytes), data);
  return fillBuffer(call, document, data, length);
}

int fillDocument(Call& call, OutBuffer& document, const clob& value) {
  QRK_TRACE(&call.ctx, "xml file:'%.*s...'", std::clamp(value.length, 0, kTracedBytes), value.data);
  return fillBuffer(call, document, value.data, value.length);
}

int shred(Call& call, QrkOutbuf* dad, QrkOutbuf* document) {
  const int rc = qrkDecomposeByDAD(&call.ctx, dad, 1, document, 1, call.msg);
  QRK_TRACE(&call.ctx, "call qrkDecomposeByDAD() returns %ld.", static_cast<long>(rc));
  return rc;
}

int insert(Call& call, const char* collectionName, QrkOutbuf* document) {
  const int rc = qrkDecomposeByName(&call.ctx, collectionName, document, call.msg);
  QRK_TRACE(&call.ctx, "call qrkDecomposeByName() returns %ld.", static_cast<long>(rc));
  return rc;
}

// The collection name as a terminated copy, or null with the failure in `code`.
std::unique_ptr<char, FreeMemory> collectionName(Call& call, sqlda* da, int& code) {
  char* data = nullptr;
  int length = 0;
  const int rc = qrkGetStProcParam(&call.ctx, da, 0, &data, &length, &code, call.msg);
  QRK_TRACE(&call.ctx, "collection name:%.*s, length:%d, rc:%d", rc == 0 ? length : 0, data, length,
            rc);
  if (rc != 0) return nullptr;
  std::unique_ptr<char, FreeMemory> name(qrkDupParameter(&call.ctx, data, length, &code, call.msg));
  if (name) QRK_TRACE(&call.ctx, "collection name:%s", name.get());
  return name;
}

int shredFromDescriptor(Call& call, sqlda* da) {
  if (isNull(da->sqlvar[0]) || isNull(da->sqlvar[1])) return fail(call, Msg::QRKG004E);
  OutBuffer dad(&call.ctx);
  OutBuffer document(&call.ctx);
  if (int code = fillDad(call, dad, da)) return code;
  if (int code = fillDocument(call, document, da)) return code;
  return shred(call, dad.get(), document.get());
}

int insertFromDescriptor(Call& call, sqlda* da) {
  if (isNull(da->sqlvar[0]) || isNull(da->sqlvar[1])) return fail(call, Msg::QRKG004E);
  int code = 0;
  const auto name = collectionName(call, da, code);
  if (!name) return code;
  OutBuffer document(&call.ctx);
  if ((code = fillDocument(call, document, da)) != 0) return code;
  return insert(call, name.get(), document.get());
}

}  // namespace

}  // namespace orvxml

extern "C" {

int qrkShredXML(void*, void*, sqlda* da) {
  using namespace orvxml;
  return sqldaProcedure(kDecompose, da, [&](Call& call) { return shredFromDescriptor(call, da); });
}

int qrkInsertXML(void*, void*, sqlda* da) {
  using namespace orvxml;
  return sqldaProcedure(kDecompose, da, [&](Call& call) { return insertFromDescriptor(call, da); });
}

int qrkShredXML_STP(clob* dadBuf, clob* XMLObj, int* returnCode, char* returnMsg, short* dadInd,
                    short* docInd, short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(dadBuf, dadInd) || isNull(XMLObj, docInd);
  inputsNotReturned({dadInd, docInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kDecompose, outputs, [&](Call& call) {
    if (absent) return fail(call, Msg::QRKG004E);
    OutBuffer dad(&call.ctx);
    OutBuffer document(&call.ctx);
    if (int code = fillBuffer(call, dad, dadBuf->data, dadBuf->length)) return code;
    if (int code = fillDocument(call, document, *XMLObj)) return code;
    return shred(call, dad.get(), document.get());
  });
}

int qrkInsertXML_STP(const char* collectionName, clob* XMLObj, int* returnCode, char* returnMsg,
                     short* nameInd, short* docInd, short* returnCodeInd, short* returnMsgInd) {
  using namespace orvxml;
  const bool absent = isNull(collectionName, nameInd) || isNull(XMLObj, docInd);
  inputsNotReturned({nameInd, docInd});
  const Outputs outputs{returnCode, returnMsg, returnCodeInd, returnMsgInd};
  return listProcedure(kDecompose, outputs, [&](Call& call) {
    if (absent) return fail(call, Msg::QRKG004E);
    OutBuffer document(&call.ctx);
    if (int code = fillDocument(call, document, *XMLObj)) return code;
    return insert(call, collectionName, document.get());
  });
}
}
