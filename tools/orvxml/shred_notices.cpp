#include "shred_notices.h"

#include <string_view>

namespace orvxml::command {

namespace {

constexpr size_t kListed = 100;

}  // namespace

void ShredNotices::begin() {
  log_.forgetFailure();
  list_.clear();
  count_ = 0;
  notTaken_.clear();
  origin_.clear();
}

void ShredNotices::notice(const Notice& notice) {
  if (notice.kind == Notice::kOrigin) {
    origin_ = notice.text;
    return;
  }
  if (notice.kind == Notice::kWarning) {
    if (std::string_view(notice.rule) == "not-taken") {
      notTaken_ = notice.text;
      return;
    }
    ++count_;
    if (list_.size() < kListed) list_.push_back(notice);
    const bool isAboutMapping = notice.documentElement == 0;
    if (isAboutMapping &&
        !aboutMapping_
             .insert(notice.rule + (' ' + std::to_string(notice.mappingElement)) + notice.text)
             .second) {
      return;
    }
  }
  log_.notice(notice);
}

std::string ShredNotices::rules() const {
  std::set<std::string_view> names;
  for (const Notice& notice : list_) names.insert(notice.rule);
  std::string text;
  for (const std::string_view name : names) text.append(text.empty() ? "[" : ", ").append(name);
  return text + ']';
}

NoticePlaces ShredNotices::places(const NamedText& mapping, const NamedText& document) const {
  std::vector<Notice> all = list_;
  all.insert(all.end(), log_.kept().begin(), log_.kept().end());
  return {mapping, document, all};
}

}  // namespace orvxml::command
