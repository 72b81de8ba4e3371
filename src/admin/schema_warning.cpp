#include "src/admin/schema_warning.h"

#include <string>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "src/outcome/edge.h"
#include "src/xmlcolumn/judgement.h"

namespace orvxml {

void warnOfUnusableSchema(QrkStruct* ctx, std::u16string_view location) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  const Judgement found =
      judgeBySchema(ctx, {"<orvxml-probe/>", true, true}, std::u16string(location).c_str());
  if (found.verdict != kNotJudged) return;
  char message[kMessageSize] = "";
  writeFailure({ctx, message}, *found.failure);
  const FailurePlace& place = found.failure->place();
  Notice notice;
  notice.rule = "unusable-schema";
  std::u16string words;
  notice.text = toUtf16(ctx, message, words) ? textForMessage(nullptr, words) : message;
  notice.text.erase(notice.text.find_last_not_of(" \n") + 1);
  if (!place.lacks.empty()) notice.text += ' ' + place.lacks;
  notice.file = place.file.empty() ? textForMessage(nullptr, location) : place.file;
  listener->notice(notice);
}

}  // namespace orvxml
