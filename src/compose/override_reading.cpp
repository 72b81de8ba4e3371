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
#include "src/text/sql_scanner.h"

namespace orvxml {
namespace {

constexpr char kModule[] = "qrkrcomp";
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
  OverrideParser(const Report& report, std::u16string_view text) : report_(report), rest_(text) {}

  // Reads all conditions into `list`. 0 or the code of the failure.
  int parse(override_list& list) {
    bool more = true;
    while (more) {
      if (list.count == kMaxOverrides) return fail(report_, Msg::QRKQ030E);
      Condition condition(static_cast<override_cond*>(std::calloc(1, sizeof(override_cond))));
      if (!condition) return fail(report_, Msg::QRKG002E);
      if (int code = readPath(*condition)) return code;
      skipBlanks();
      if (int code = readPredicate(*condition, more)) return code;
      list.used[list.count] = 0;
      list.cond[list.count++] = condition.release();
    }
    return 0;
  }

 private:
  // A character that ends paths, in front of one, is left out.
  int readPath(override_cond& condition) {
    if (!rest_.empty() && kEndOfPath.find(rest_.front()) != kEndOfPath.npos) rest_.remove_prefix(1);
    const size_t end = std::min(rest_.find_first_of(kEndOfPath), rest_.size());
    condition.path_str = QRK_wcsdup_function(std::u16string(rest_.substr(0, end)).c_str());
    if (!condition.path_str) return fail(report_, Msg::QRKG002E);
    condition.query = new QrkQuery(report_.ctx, condition.path_str);
    rest_.remove_prefix(end);
    return 0;
  }

  // `more`: whether another condition follows, at which the rest then starts.
  int readPredicate(override_cond& condition, bool& more) {
    const size_t end = endOfPredicate();
    std::u16string_view text = rest_.substr(0, end);
    text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    more = end < rest_.size();
    rest_.remove_prefix(more ? end + and_.size() : end);
    skipBlanks();
    if (text.find(kNoCondition) != text.npos && text.find(u'\'') == text.npos) return 0;
    std::string predicate;
    if (!toDatabase(report_.ctx, text, predicate) || predicate.size() > kMaxPredicate) {
      return failInternal(report_, kModule, __LINE__);
    }
    predicate.copy(condition.predicate, kMaxPredicate);
    return 0;
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

  const Report report_;
  const std::u16string_view and_ = K_UC_SQL_WORD_AND;
  std::u16string_view rest_;
};

}  // namespace

int qrkInitOverride(QrkStruct* ctx, int overrideType, const char* override, override_list* list,
                    char* msg) {
  const Report report{ctx, msg};
  list->count = 0;
  list->max = 0;
  if (overrideType == NO_OVERRIDE) return 0;
  if (overrideType != XML_OVERRIDE) return fail(report, Msg::QRKQ030E);
  std::fill_n(list->cond, kMaxOverrides, nullptr);
  list->max = kMaxOverrides;
  try {
    std::u16string text;
    if (!toUtf16(ctx, override ? override : "", text)) return fail(report, Msg::QRKQ030E);
    return OverrideParser(report, text).parse(*list);
  } catch (const std::bad_alloc&) {
    return fail(report, Msg::QRKG002E);
  }
}

void qrkFreeOverride(QrkStruct*, override_list* list) {
  if (!list) return;
  for (int i = 0; i < list->count; ++i) FreeCondition()(list->cond[i]);
  list->count = 0;
  list->max = 0;
}

}  // namespace orvxml
