// What the library tells while documents are decomposed, one after the other by one mapping.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "notice_log.h"

namespace orvxml::command {

class ShredNotices final : public NoticeListener {
 public:
  // Forgets the document before. What was printed about the mapping is not printed again.
  void begin();
  void notice(const Notice& notice) override;

  // The first warnings of this document, those about the mapping included, and how many there are.
  const std::vector<Notice>& list() const { return list_; }
  size_t warnings() const { return count_; }
  // Their rules, each once: "[a, b]".
  std::string rules() const;
  // What the mapping left out of this document, in one line; or empty.
  const std::string& notTaken() const { return notTaken_; }
  // The override that composes this document again; or empty.
  const std::string& origin() const { return origin_; }
  const Notice* failure() const { return log_.failure(); }

  bool hasUnprinted() const { return log_.warnings() > 0; }
  // Of what is listed and of what is to be printed.
  NoticePlaces places(const NamedText& mapping, const NamedText& document) const;
  void print(const NoticePlaces& places) { log_.printWarnings(places); }

 private:
  NoticeLog log_;
  std::vector<Notice> list_;
  size_t count_ = 0;
  std::string notTaken_, origin_;
  std::set<std::string> aboutMapping_;  // logged before
};

}  // namespace orvxml::command
