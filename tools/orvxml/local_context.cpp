#include "local_context.h"

#include "settings.h"
#include "text_encoding.h"

namespace orvxml::command {

LocalContext::LocalContext() {
  sqludf_dbinfo database{};
  database.codepage = kUtf8CodePage;
  char encoding[] = "UTF-8";
  if (const int code = qrkInit(&context_, CALL_FROM_UDF, &database, sqlState, encoding)) {
    throw Failure("", "the library cannot be set up: code " + std::to_string(code) + ", SQLSTATE " +
                          sqlState);
  }
  context_.callFrom = CALL_FROM_STP;
}

LocalContext::~LocalContext() {
  qrkExit(&context_, sqlState);
}

void LocalContext::notice(const Notice& notice) {
  if (notice.kind == Notice::kFailure) failure_ = notice;
  if (before_) before_->notice(notice);
}

}  // namespace orvxml::command
