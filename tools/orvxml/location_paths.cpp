#include "location_paths.h"

#include <climits>

#include "notice_log.h"
#include "orvxml/extraction.h"
#include "settings.h"

namespace orvxml::command {

void requirePath(LocalContext& context, std::string& path) {
  if (path.empty()) throw Failure("", "give --path", kWrongUse);
  QrkExtractResult result{};
  char document[] = "<a/>";
  NoticeLog notices;
  const Listening listening(notices);
  const int status = extractAll(context.get(), document, 0, 1, kExtractText, path.data(), &result,
                                INT_MAX, context.sqlState, context.message);
  if (status != 0) throw Failure("--path", context.message, kWrongUse);
  qrkFreeArray(context.get(), &result);
  notices.printWarnings({.label = "--path", .text = {}});
}

}  // namespace orvxml::command
