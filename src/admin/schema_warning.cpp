#include "src/admin/schema_warning.h"

#include <string>

#include "orvxml/code_pages.h"
#include "orvxml/notices.h"
#include "orvxml/validation.h"

namespace orvxml {

void warnOfUnusableSchema(QrkStruct* ctx, std::u16string_view location) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  std::string probe = "<orvxml-probe/>";
  std::u16string schema(location);
  char message[kMessageSize] = "";
  char sqlState[kSqlStateSize] = "";
  PlaceKeeper keeper;
  const int verdict = qrkJudgeBySchema(ctx, probe.data(), 1, 1, schema.data(), sqlState, message);
  keeper.end();
  if (verdict != kNotJudged) return;
  const Notice& place = keeper.place();
  Notice notice;
  notice.rule = "unusable-schema";
  std::u16string words;
  notice.text = toUtf16(ctx, message, words) ? textForMessage(nullptr, words) : message;
  notice.text.erase(notice.text.find_last_not_of(" \n") + 1);
  if (!place.text.empty()) notice.text += ' ' + place.text;
  notice.file = place.file.empty() ? textForMessage(nullptr, location) : place.file;
  listener->notice(notice);
}

}  // namespace orvxml
