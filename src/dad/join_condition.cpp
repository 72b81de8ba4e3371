// The join condition of the top RDB_node: equalities between qualified columns, joined by AND.
//
//   condition = equality { "AND" equality } ;
//   equality  = name "=" name ;
//   name      = [ [ schema "." ] table "." ] column ;
#include <cstdlib>
#include <cstring>

#include "orvxml/trace.h"
#include "src/dad/dad_walk.h"
#include "src/dad/mapping_model.h"
#include "src/dad/model_steps.h"
#include "src/server_access/catalog_queries.h"
#include "src/text/sql_scanner.h"

namespace orvxml {

using namespace dadtree;

namespace {

constexpr size_t kQuotedTextLimit = 299;  // bytes of the text that a message quotes
constexpr int kMaxParts = 3;

struct JoinSide {
  char parts[kMaxParts][kNamePartSize];  // schema, table, column; missing ones empty
  const char* schema() const { return parts[0]; }
  const char* table() const { return parts[1]; }
  const char* column() const { return parts[2]; }
};

bool sameColumn(const JoinSide& a, const JoinSide& b) {
  return cmpQualTblName(a.schema(), b.schema(), a.table(), b.table()) == 0 &&
         std::strcmp(a.column(), b.column()) == 0;
}

// As much of `text` as fits the quotation in a message.
std::string quoted(QrkStruct* ctx, const char16_t* text) {
  std::u16string part(std::u16string_view(text).substr(0, kQuotedTextLimit));
  std::string out = textForMessage(ctx, part);
  while (out.size() > kQuotedTextLimit) {
    part.pop_back();
    out = textForMessage(ctx, part);
  }
  return out;
}

class ConditionParser {
 public:
  ConditionParser(const Report& report, rel& model, int purpose, const char16_t* text,
                  const xercesc::DOMNode* element)
      : report_(report), model_(model), purpose_(purpose), cursor_(text), element_(element) {}

  int parse() {
    for (;;) {
      JoinSide left, right;
      equality_ = cursor_;
      next();
      if (!parseName(left)) return unexpected();
      if (token_.type != Type_Delimiter || *token_.startptr != u'=') return unexpected();
      next();
      if (!parseName(right)) return refuse("no column on the right side", Msg::QRKQ015E);
      const bool ended = token_.type == Type_EOF;
      if (!ended && !(isAnd())) return unexpected();
      if (int rc = record(left, right)) return rc;
      if (ended) return 0;
    }
  }

 private:
  void next() { qrkGetSqlToken(report_.ctx, &cursor_, &token_); }

  template <class... Args>
  int refuse(const char* why, Msg message, const Args&... args) {
    const std::string text = shown(equality_);
    return failAt(element_, *why ? why + std::string(": ") + text : text, report_, message,
                  args...);
  }

  int unexpected() { return refuse("", Msg::QRKQ034E, quoted(report_.ctx, token_.startptr)); }

  bool isAnd() const {
    std::string word;
    return token_.type == Type_Identifier && toDatabase(report_.ctx, K_UC_SQL_WORD_AND, word) &&
           word == token_.text;
  }

  bool parseName(JoinSide& side) {
    char parts[kMaxParts][kNamePartSize];
    int count = 0;
    if (qrkParseSqlQualifiedId(report_.ctx, &cursor_, &token_, kMaxParts, &count, parts)) {
      return false;
    }
    const int missing = kMaxParts - count;
    for (int i = 0; i < missing; ++i) side.parts[i][0] = 0;
    for (int i = missing; i < kMaxParts; ++i) std::strcpy(side.parts[i], parts[i - missing]);
    return true;
  }

  int checkLengths(const JoinSide& left, const JoinSide& right) {
    auto tooLong = [&](int part, int size) {
      const auto room = static_cast<size_t>(size);
      return std::strlen(left.parts[part]) >= room || std::strlen(right.parts[part]) >= room;
    };
    if (tooLong(0, kSchemaSize)) return refuse("", Msg::QRKQ036E);
    if (tooLong(1, kTableSize)) return refuse("", Msg::QRKQ031E);
    if (tooLong(2, kColumnSize)) return refuse("", Msg::QRKQ032E);
    return 0;
  }

  int record(const JoinSide& left, const JoinSide& right) {
    if (int rc = checkLengths(left, right)) return rc;
    if (sameColumn(left, right)) return 0;
    if (int rc = recordSide(left, right)) return rc;
    return recordSide(right, left);
  }

  int recordSide(const JoinSide& own, const JoinSide& partner) {
    tab* table = findTabByName(report_.ctx, &model_, own.schema(), own.table());
    if (!table) {
      return refuse("the top RDB_node does not list the table of one side", Msg::QRKQ015E);
    }
    const int rc = qrkSetJoinInfoForeign(report_, model_, purpose_, *table, own.column(),
                                         partner.schema(), partner.table(), partner.column());
    if (rc != 0) tellPlace(element_, shown(equality_));
    return rc;
  }

  const Report& report_;
  rel& model_;
  const int purpose_;
  const char16_t* cursor_;
  const char16_t* equality_ = nullptr;  // the start of the one being read
  const xercesc::DOMNode* const element_;
  QrkSqlToken token_{};
};

bool hasPartner(const join_info_entry& entry, const char* schema, const char* table,
                const char* col) {
  for (int i = 0; i < entry.num_join; ++i) {
    const join_partner& partner = entry.foreign[i];
    if (cmpQualTblName(partner.schema, schema, partner.tab, table) == 0 &&
        std::strcmp(partner.col, col) == 0) {
      return true;
    }
  }
  return false;
}

int askPartnerType(QrkStruct* ctx, const join_partner& partner, const char* column,
                   join_info_entry& entry, char* msg) {
  char typeSchema[kTableSize] = "";
  long length = 0;
  return qrkGetCatalogColumnType(ctx, partner.schema, partner.tab, column, typeSchema,
                                 sizeof typeSchema, entry.type, sizeof entry.type, &length, msg);
}

// The type of the column at the other side: from its own join entry, else from the catalog.
int fillPartnerType(const Report& report, rel* relinfo, join_info_entry& entry) {
  const join_partner& partner = entry.foreign[0];
  tab* other = findTabByName(report.ctx, relinfo, partner.schema, partner.tab);
  const join_info_entry* known = other ? qrkGetJoinInfo(report.ctx, other, partner.col) : nullptr;
  if (known) {
    std::strcpy(entry.type, known->type);
    return 0;
  }
  char column[4 * kColumnSize];  // a capital may take more bytes than its small letter
  if (qrk_toupper(report.ctx, partner.col, column, sizeof column)) {
    return failed(report, Msg::QRKQ032E);
  }
  // A delimited name with small letters stands in the catalog as it is.
  const bool hasSmallLetters = std::strcmp(column, partner.col) != 0;
  char unused[kMessageSize];
  int rc = hasSmallLetters ? askPartnerType(report.ctx, partner, partner.col, entry, unused) : -1;
  if (rc != 0) rc = askPartnerType(report.ctx, partner, column, entry, report.msg);
  *report.errCode = rc;
  return rc;
}

}  // namespace

int whereparser(const Report& report, rel& model, int purpose, const char16_t* condition,
                const xercesc::DOMNode* element) {
  return ConditionParser(report, model, purpose, condition, element).parse();
}

int qrkSetJoinInfoForeign(const Report& report, rel& model, int purpose, tab& table,
                          const char* column, const char* forSchema, const char* forTable,
                          const char* forColumn) {
  int slot = 0;
  while (slot < model.num_cond && table.join_info[slot].col[0] &&
         std::strcmp(table.join_info[slot].col, column) != 0) {
    ++slot;
  }
  if (slot == model.num_cond) return failed(report, Msg::QRKG004E);
  join_info_entry& entry = table.join_info[slot];
  if (hasPartner(entry, forSchema, forTable, forColumn)) return 0;
  if (!entry.foreign) {
    const auto capacity = static_cast<size_t>(model.num_cond);
    entry.foreign = static_cast<join_partner*>(std::calloc(capacity, sizeof(join_partner)));
  }
  if (!entry.foreign) return failed(report, Msg::QRKG002E);
  std::strcpy(entry.col, column);
  join_partner& partner = entry.foreign[entry.num_join++];
  std::strcpy(partner.schema, forSchema);
  std::strcpy(partner.tab, forTable);
  std::strcpy(partner.col, forColumn);
  if (table.num_join < slot + 1) table.num_join = slot + 1;
  if (purpose != kForComposition || entry.num_join > 1) return 0;
  return fillPartnerType(report, &model, entry);
}

}  // namespace orvxml
