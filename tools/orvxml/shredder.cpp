#include "shredder.h"

#include "orvxml/context.h"
#include "procedure_values.h"
#include "text_encoding.h"

namespace orvxml::command {

Shredder::Shredder(orv::Session& session, Mapping mapping)
    : session_(session), mapping_(std::move(mapping)) {
  databaseMapping_ = toCodePage(mapping_.name, mapping_.isCollection ? mapping_.name : mapping_.dad,
                                session_.codePage());
}

ShredOutcome Shredder::shred(const std::string& name, const std::string& document) {
  std::string converted;
  const bool convert = session_.codePage() != kUtf8CodePage;
  if (convert) converted = toCodePage(name, document, session_.codePage());
  const std::string& databaseDocument = convert ? converted : document;
  if (registered_ && fitsParameters(databaseDocument)) {
    ShredOutcome outcome = callRegistered(document);
    if (registered_) return outcome;
  }
  return callDirectly(databaseDocument);
}

bool Shredder::fitsParameters(const std::string& document) const {
  return document.size() <= kDocumentParameter &&
         databaseMapping_.size() <= (mapping_.isCollection ? kNameParameter : kDadParameter);
}

ShredOutcome Shredder::callRegistered(const std::string& document) {
  const orv::CallResult result =
      session_.call("ORVXML", mapping_.isCollection ? "QRKINSERTXML" : "QRKSHREDXML",
                    {{mapping_.isCollection ? mapping_.name : mapping_.dad}, {document}, {}, {}});
  if (result.outcome.sqlcode == kNoSuchRoutine) {
    registered_ = false;
    return {};
  }
  if (result.outcome.failed()) return {result.outcome.sqlcode, result.outcome.message};
  if (result.outputs.size() != 4) return {-1, "the registered procedure has other parameters"};
  return {numberOf(result.outputs[2]), result.outputs[3].value_or("")};
}

ShredOutcome Shredder::callDirectly(const std::string& document) {
  ClobValue documentValue(document);
  int code = 0;
  char message[kMessageSize] = "";
  short indicators[4] = {0, 0, 0, 0};
  if (mapping_.isCollection) {
    qrkInsertXML_STP(databaseMapping_.c_str(), documentValue.get(), &code, message, &indicators[0],
                     &indicators[1], &indicators[2], &indicators[3]);
  } else {
    ClobValue dadValue(databaseMapping_);
    qrkShredXML_STP(dadValue.get(), documentValue.get(), &code, message, &indicators[0],
                    &indicators[1], &indicators[2], &indicators[3]);
  }
  return {code, fromCodePage(message, session_.codePage())};
}

}  // namespace orvxml::command
