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
  const std::optional<Failure> fault = faultOfSchema(ctx, std::u16string(location));
  if (!fault) return;
  const FailurePlace& place = fault->place();
  const std::string message = messageOf(ctx, *fault);
  Notice notice;
  notice.rule = "unusable-schema";
  std::u16string words;
  notice.text = toUtf16(ctx, message, words) ? textForMessage(nullptr, words) : message;
  notice.text.erase(notice.text.find_last_not_of(" \n") + 1);
  if (!place.lacks.empty()) notice.text += ' ' + place.lacks;
  notice.file = place.file.empty() ? textForMessage(nullptr, location) : place.file;
  notice.line = place.line;
  notice.column = place.column;
  listener->notice(notice);
}

}  // namespace orvxml
