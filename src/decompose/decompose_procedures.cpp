// The exported decomposition procedures: they unpack, call and report.
#include "orvxml/procedures.h"

#include <algorithm>
#include <string>

#include "orvxml/buffer.h"
#include "orvxml/trace.h"
#include "src/call/procedure_frame.h"
#include "src/decompose/decomposition.h"
#include "src/outcome/traced_call.h"

namespace orvxml {

namespace {

constexpr ProcedureInfo kDecompose{Msg::QRKQ025I, 2};
constexpr int kTracedBytes = 100;

void takeDad(Call& call, OutBuffer& dad, sqlda* da) {
  const DescriptorText text = takeBytes(&call.ctx, da, 0);
  QRK_TRACE(&call.ctx, "dad length:%d", text.length);
  QRK_TRACE(&call.ctx, "dad varchar data:'%.*s...'", std::min(text.length, kTracedBytes),
            text.data);
  takeInto(call, dad, text.data, text.length);
}

void takeDocument(Call& call, OutBuffer& document, sqlda* da) {
  const DescriptorText text = takeBytes(&call.ctx, da, 1);
  QRK_TRACE(&call.ctx, "xml file length:%d, rc:%d", text.length, 0);
  QRK_TRACE(&call.ctx, "xml file:'%.*s...'", std::min(text.length, kTracedBytes), text.data);
  takeInto(call, document, text.data, text.length);
}

void takeDocument(Call& call, OutBuffer& document, const clob& value) {
  QRK_TRACE(&call.ctx, "xml file:'%.*s...'", std::clamp(value.length, 0, kTracedBytes), value.data);
  takeInto(call, document, value.data, value.length);
}

int shred(Call& call, QrkOutbuf* dad, QrkOutbuf* document) {
  traced(&call.ctx, "call qrkDecomposeByDAD() returns %ld.",
         [&] { qrkDecomposeByDAD(&call.ctx, dad, 1, document, 1); });
  return 0;
}

int insert(Call& call, const char* collectionName, QrkOutbuf* document) {
  traced(&call.ctx, "call qrkDecomposeByName() returns %ld.",
         [&] { qrkDecomposeByName(&call.ctx, collectionName, document); });
  return 0;
}

std::string collectionName(Call& call, sqlda* da) {
  const DescriptorText text = takeBytes(&call.ctx, da, 0);
  QRK_TRACE(&call.ctx, "collection name:%.*s, length:%d, rc:%d", text.length, text.data,
            text.length, 0);
  std::string name(text.data, static_cast<size_t>(text.length));
  QRK_TRACE(&call.ctx, "collection name:%s", name.c_str());
  return name;
}

int shredFromDescriptor(Call& call, sqlda* da) {
  if (isNull(da->sqlvar[0]) || isNull(da->sqlvar[1])) throw Failure(Msg::QRKG004E);
  OutBuffer dad(&call.ctx);
  OutBuffer document(&call.ctx);
  takeDad(call, dad, da);
  takeDocument(call, document, da);
  return shred(call, dad.get(), document.get());
}

int insertFromDescriptor(Call& call, sqlda* da) {
  if (isNull(da->sqlvar[0]) || isNull(da->sqlvar[1])) throw Failure(Msg::QRKG004E);
  const std::string name = collectionName(call, da);
  OutBuffer document(&call.ctx);
  takeDocument(call, document, da);
  return insert(call, name.c_str(), document.get());
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
    if (absent) throw Failure(Msg::QRKG004E);
    OutBuffer dad(&call.ctx);
    OutBuffer document(&call.ctx);
    takeInto(call, dad, dadBuf->data, dadBuf->length);
    takeDocument(call, document, *XMLObj);
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
    if (absent) throw Failure(Msg::QRKG004E);
    OutBuffer document(&call.ctx);
    takeDocument(call, document, *XMLObj);
    return insert(call, collectionName, document.get());
  });
}
}
