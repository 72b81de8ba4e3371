// The join condition of the top RDB_node: equalities between qualified columns, joined by AND.
//
//   condition = equality { "AND" equality } ;
//   equality  = name "=" name ;
//   name      = [ [ schema "." ] table "." ] column ;
#include <algorithm>
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
  // The lengths have been checked.
  join_partner partner() const {
    join_partner partner{};
    std::strcpy(partner.schema, schema());
    std::strcpy(partner.tab, table());
    std::strcpy(partner.col, column());
    return partner;
  }
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
  ConditionParser(const Building& building, const char16_t* text, const xercesc::DOMNode* element)
      : building_(building), cursor_(text), element_(element) {}

  void parse() {
    for (;;) {
      JoinSide left, right;
      equality_ = cursor_;
      next();
      if (!parseName(left)) throw unexpected();
      if (token_.type != Type_Delimiter || *token_.startptr != u'=') throw unexpected();
      next();
      if (!parseName(right)) throw inEquality(Msg::QRKQ015E, "no column on the right side: ");
      const bool ended = token_.type == Type_EOF;
      if (!ended && !isAnd()) throw unexpected();
      record(left, right);
      if (ended) return;
    }
  }

 private:
  void next() { qrkGetSqlToken(building_.ctx, &cursor_, &token_); }

  Failure inEquality(Msg message, const char* why = "") const {
    return at(element_, Failure(message), why + shown(equality_));
  }

  Failure unexpected() const {
    return at(element_, Failure(Msg::QRKQ034E, quoted(building_.ctx, token_.startptr)),
              shown(equality_));
  }

  bool isAnd() const {
    std::string word;
    return token_.type == Type_Identifier && toDatabase(building_.ctx, K_UC_SQL_WORD_AND, word) &&
           word == token_.text;
  }

  bool parseName(JoinSide& side) {
    char parts[kMaxParts][kNamePartSize];
    int count = 0;
    if (qrkParseSqlQualifiedId(building_.ctx, &cursor_, &token_, kMaxParts, &count, parts)) {
      return false;
    }
    const int missing = kMaxParts - count;
    for (int i = 0; i < missing; ++i) side.parts[i][0] = 0;
    for (int i = missing; i < kMaxParts; ++i) std::strcpy(side.parts[i], parts[i - missing]);
    return true;
  }

  void checkLengths(const JoinSide& left, const JoinSide& right) {
    auto tooLong = [&](int part, int size) {
      const auto room = static_cast<size_t>(size);
      return std::strlen(left.parts[part]) >= room || std::strlen(right.parts[part]) >= room;
    };
    if (tooLong(0, kSchemaSize)) throw inEquality(Msg::QRKQ036E);
    if (tooLong(1, kTableSize)) throw inEquality(Msg::QRKQ031E);
    if (tooLong(2, kColumnSize)) throw inEquality(Msg::QRKQ032E);
  }

  void record(const JoinSide& left, const JoinSide& right) {
    checkLengths(left, right);
    if (sameColumn(left, right)) return;
    recordSide(left, right);
    recordSide(right, left);
  }

  void recordSide(const JoinSide& own, const JoinSide& other) {
    tab* table = findTabByName(building_.ctx, &building_.model, own.schema(), own.table());
    if (!table) {
      throw inEquality(Msg::QRKQ015E, "the top RDB_node does not list the table of one side: ");
    }
    try {
      qrkSetJoinInfoForeign(building_, *table, own.column(), other.partner());
    } catch (const Failure& failure) {
      throw at(element_, failure, shown(equality_));
    }
  }

  const Building& building_;
  const char16_t* cursor_;
  const char16_t* equality_ = nullptr;  // the start of the one being read
  const xercesc::DOMNode* const element_;
  QrkSqlToken token_{};
};

bool hasPartner(const join_info_entry& entry, const join_partner& wanted) {
  return std::any_of(
      entry.foreign, entry.foreign + entry.num_join, [&](const join_partner& partner) {
        return cmpQualTblName(partner.schema, wanted.schema, partner.tab, wanted.tab) == 0 &&
               std::strcmp(partner.col, wanted.col) == 0;
      });
}

void askPartnerType(QrkStruct* ctx, const join_partner& partner, const char* column,
                    join_info_entry& entry) {
  const std::string type = qrkGetCatalogColumnType(ctx, partner.schema, partner.tab, column).name;
  if (type.size() >= sizeof entry.type) throw Failure::internal().withCode(-1);
  std::strcpy(entry.type, type.c_str());
}

// The type of the column at the other side: from its own join entry, else from the catalog.
void fillPartnerType(const Building& building, join_info_entry& entry) {
  QrkStruct* const ctx = building.ctx;
  const join_partner& partner = entry.foreign[0];
  tab* other = building.tableOf(partner);
  const join_info_entry* known = other ? qrkGetJoinInfo(ctx, other, partner.col) : nullptr;
  if (known) {
    std::strcpy(entry.type, known->type);
    return;
  }
  char column[4 * kColumnSize];  // a capital may take more bytes than its small letter
  if (qrk_toupper(ctx, partner.col, column, sizeof column)) throw Failure(Msg::QRKQ032E);
  // A delimited name with small letters stands in the catalog as it is.
  if (std::strcmp(column, partner.col) != 0) {
    try {
      return askPartnerType(ctx, partner, partner.col, entry);
    } catch (const Failure&) {
      // Then it is one in capitals.
    }
  }
  askPartnerType(ctx, partner, column, entry);
}

}  // namespace

void whereparser(const Building& building, const char16_t* condition,
                 const xercesc::DOMNode* element) {
  ConditionParser(building, condition, element).parse();
}

void qrkSetJoinInfoForeign(const Building& building, tab& table, const char* column,
                           const join_partner& partner) {
  const int slots = building.model.num_cond;
  int slot = 0;
  while (slot < slots && table.join_info[slot].col[0] &&
         std::strcmp(table.join_info[slot].col, column) != 0) {
    ++slot;
  }
  if (slot == slots) throw Failure(Msg::QRKG004E);
  join_info_entry& entry = table.join_info[slot];
  if (hasPartner(entry, partner)) return;
  if (!entry.foreign) entry.foreign = allocate<join_partner>(static_cast<size_t>(slots));
  std::strcpy(entry.col, column);
  entry.foreign[entry.num_join++] = partner;
  if (table.num_join < slot + 1) table.num_join = slot + 1;
  if (building.purpose == kForComposition && entry.num_join == 1) fillPartnerType(building, entry);
}

}  // namespace orvxml
