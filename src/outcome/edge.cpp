#include "src/outcome/edge.h"

#include <array>
#include <cstring>
#include <new>

#include <xercesc/util/OutOfMemoryException.hpp>

#include "src/outcome/text_cut.h"

namespace orvxml {

namespace {

// Puts `text` behind the message in report.msg; what does not fit is cut.
void append(const Report& report, std::string_view text) {
  char* const msg = report.msg;
  const size_t used = std::strlen(msg);
  const size_t room = kMessageSize - 1 - used;
  if (text.size() <= room) {
    text.copy(msg + used, text.size());
    msg[used + text.size()] = 0;
    return;
  }
  if (room == 0) return;
  const std::string_view cut = text.substr(0, room - 1);
  const size_t kept = wholeCharacters(report.ctx, cut);
  cut.copy(msg + used, kept);
  std::strcpy(msg + used + kept, "\n");
}

void writeMessage(const Report& report, const Failure& failure) {
  constexpr size_t kMost = 6;
  std::array<const char*, kMost> a;
  a.fill("");
  for (size_t i = 0; i < failure.arguments().size() && i < kMost; ++i) {
    a[i] = failure.arguments()[i].c_str();
  }
  const int index = static_cast<int>(failure.message());
  if (failure.is(Msg{})) {
    *report.msg = 0;
    append(report, a[0]);
  } else if (failure.serverArea()) {
    sqlca area = *failure.serverArea();
    qrkDbSprint(report.ctx, report.msg, &area, index, a[0], a[1], a[2], a[3], a[4], a[5]);
  } else {
    qrkSprint(report.ctx, report.msg, index, a[0], a[1], a[2], a[3], a[4], a[5]);
  }
  for (const Failure& also : failure.also()) {
    char text[kMessageSize] = "";
    writeMessage({report.ctx, text}, also);
    append(report, text);
  }
}

void tell(const Failure& failure) {
  NoticeListener* const listener = noticeListener();
  if (!listener) return;
  const FailurePlace& place = failure.place();
  Notice notice;
  notice.kind = Notice::kFailure;
  notice.text = place.lacks.empty() ? failure.origin() : place.lacks;
  notice.mappingElement = place.mappingElement;
  notice.documentElement = place.documentElement;
  notice.file = place.file;
  notice.line = place.line;
  notice.column = place.column;
  notice.failure = failure.kind();
  notice.about = place.text;
  notice.sqlcode = failure.sqlcode();
  notice.serverWords = failure.serverWords();
  listener->notice(notice);
}

}  // namespace

void writeFailure(const Report& report, const Failure& failure) {
  if (report.msg) writeMessage(report, failure);
  if (report.errCode) *report.errCode = failure.code();
  if (report.sqlState && !failure.sqlState().empty()) {
    failure.sqlState().copy(report.sqlState, kSqlStateSize - 1);
    report.sqlState[kSqlStateSize - 1] = 0;
  }
}

std::string messageOf(QrkStruct* ctx, const Failure& failure) {
  char message[kMessageSize] = "";
  writeMessage({ctx, message}, failure);
  return message;
}

int reportFailure(const Report& report, const Failure& failure) {
  writeFailure(report, failure);
  tell(failure);
  return failure.code();
}

int reportCaught(const Report& report) {
  try {
    throw;
  } catch (const Failure& failure) {
    return reportFailure(report, failure);
  } catch (const std::bad_alloc&) {
    return fail(report, Msg::QRKG002E);
  } catch (const xercesc::OutOfMemoryException&) {
    return fail(report, Msg::QRKG002E);
  } catch (...) {
    return reportFailure(report, Failure::internal());
  }
}

}  // namespace orvxml
