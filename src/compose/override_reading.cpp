// The list of conditions of an override text:
//
//   text       = condition { "AND" condition }
//   condition  = path blanks predicate
//   path       = characters up to a blank, "<", "=" or ">"
//   predicate  = characters up to "AND" outside single quotes; "NO_CONDITION" stands for none
#include "src/dad/overrides.h"

#include <cstdlib>
#include <memory>

#include "orvxml/code_pages.h"
#include "orvxml/utilities.h"
#include "src/compose/composition.h"
#include "src/outcome/failure.h"
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr std::u16string_view kBlanks = u" \n\t\r";
constexpr std::u16string_view kEndOfPath = u" \n\t\r<=>";
constexpr std::u16string_view kNoCondition = K_UC_NO_CONDITION;
constexpr size_t kMaxPredicate = 1024;  // bytes
static_assert(kMaxPredicate < kPredicateSize);

struct FreeCondition {
  void operator()(override_cond* condition) const {
    delete condition->query;
    std::free(condition->path_str);
    std::free(condition);
  }
};
using Condition = std::unique_ptr<override_cond, FreeCondition>;

class OverrideParser {
 public:
  OverrideParser(QrkStruct* ctx, std::u16string_view text) : ctx_(ctx), rest_(text) {}

  // Reads all conditions into `list`.
  void parse(override_list& list) {
    bool more = true;
    while (more) {
      if (list.count == kMaxOverrides) throw Failure(Msg::QRKQ030E);
      Condition condition(static_cast<override_cond*>(std::calloc(1, sizeof(override_cond))));
      if (!condition) throw Failure(Msg::QRKG002E);
      readPath(*condition);
      skipBlanks();
      more = readPredicate(*condition);
      list.used[list.count] = 0;
      list.cond[list.count++] = condition.release();
    }
  }

 private:
  // A character that ends paths, in front of one, is left out.
  void readPath(override_cond& condition) {
    if (!rest_.empty() && kEndOfPath.find(rest_.front()) != kEndOfPath.npos) rest_.remove_prefix(1);
    const size_t end = std::min(rest_.find_first_of(kEndOfPath), rest_.size());
    condition.path_str = QRK_wcsdup_function(std::u16string(rest_.substr(0, end)).c_str());
    if (!condition.path_str) throw Failure(Msg::QRKG002E);
    condition.query = new QrkQuery(ctx_, condition.path_str);
    rest_.remove_prefix(end);
  }

  // Whether another condition follows, at which the rest then starts.
  bool readPredicate(override_cond& condition) {
    const size_t end = endOfPredicate();
    std::u16string_view text = rest_.substr(0, end);
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    const bool more = end < rest_.size();
    rest_.remove_prefix(more ? end + and_.size() : end);
    skipBlanks();
    if (text.find(kNoCondition) != text.npos && text.find(u'\'') == text.npos) return more;
    std::string predicate;
    if (!toDatabase(ctx_, text, predicate) || predicate.size() > kMaxPredicate) {
      throw Failure::internal("qrkrcomp");
    }
    predicate.copy(condition.predicate, kMaxPredicate);
    return more;
  }

  // Where the predicate at the start of the rest ends: at an "AND" outside quotes, or at the end.
  size_t endOfPredicate() const {
    bool quoted = false;
    for (size_t i = 0; i < rest_.size(); ++i) {
      if (rest_[i] == u'\'') quoted = !quoted;
      if (!quoted && rest_.substr(i, and_.size()) == and_) return i;
    }
    return rest_.size();
  }

  void skipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  }

  QrkStruct* const ctx_;
  const std::u16string_view and_ = K_UC_SQL_WORD_AND;
  std::u16string_view rest_;
};

}  // namespace

void qrkInitOverride(QrkStruct* ctx, int overrideType, const char* override, override_list& list) {
  list.count = 0;
  list.max = 0;
  if (overrideType == NO_OVERRIDE) return;
  if (overrideType != XML_OVERRIDE) throw Failure(Msg::QRKQ030E);
  std::fill_n(list.cond, kMaxOverrides, nullptr);
  list.max = kMaxOverrides;
  std::u16string text;
  if (!toUtf16(ctx, override ? override : "", text)) throw Failure(Msg::QRKQ030E);
  OverrideParser(ctx, text).parse(list);
}

void qrkFreeOverride(override_list& list) {
  for (int i = 0; i < list.count; ++i) FreeCondition()(list.cond[i]);
  list.count = 0;
  list.max = 0;
}

}  // namespace orvxml
