// Column functions of our own: sums that are exact and tell overflow, and the check that a scalar
// subquery gives one row.
#include <memory>
#include <new>
#include <utility>

#include "server/engine/sqlite/functions/foreign_value.h"
#include "server/engine/sqlite/functions/function_support.h"

namespace orv::sqlite {
namespace {

constexpr int kSumDigits = 31;

// The state of an aggregate lives in memory that SQLite gives zeroed and frees itself, so it must
// be usable as zeros and trivially destructible.
template <typename State>
State* stateOf(sqlite3_context* context) {
  auto* state = static_cast<State*>(sqlite3_aggregate_context(context, sizeof(State)));
  if (!state) throw std::bad_alloc();
  return state;
}

template <typename State>
State* existingState(sqlite3_context* context) {
  return static_cast<State*>(sqlite3_aggregate_context(context, 0));
}

struct IntegerSum {
  int64_t total;
  bool any;
};

void addInteger(sqlite3_context* context, int, sqlite3_value** values) {
  auto* state = stateOf<IntegerSum>(context);
  if (anyNull(values, 1)) return;
  state->any = true;
  if (sqlite3_value_type(values[0]) != SQLITE_INTEGER) {
    failOfType(viewOf(values[0]), makeType(TypeKind::BigInt));
  }
  if (__builtin_add_overflow(state->total, sqlite3_value_int64(values[0]), &state->total)) {
    throw SqlError(-802);
  }
}

void finishInteger(sqlite3_context* context) {
  auto* state = existingState<IntegerSum>(context);
  if (state && state->any) sqlite3_result_int64(context, state->total);
}

struct DecimalSum {
  Decimal* total;  // owned; released by the function that finishes, which is always called
  int64_t count;
};

void addDecimal(sqlite3_context* context, int, sqlite3_value** values) {
  auto* state = stateOf<DecimalSum>(context);
  if (anyNull(values, 1)) return;
  Decimal value = decimalArgument(values[0]);
  ++state->count;
  if (!state->total) {
    state->total = new Decimal(value);
    return;
  }
  std::optional<Decimal> sum =
      Decimal::add(*state->total, value, std::max(state->total->scale(), value.scale()));
  if (!sum) throw SqlError(-802);
  *state->total = *sum;
}

// The sum; for an average with the number of values behind it, for ORV_QUOTIENT to divide.
template <bool average>
void finishDecimal(sqlite3_context* context) {
  auto* state = existingState<DecimalSum>(context);
  if (!state || !state->total) return;
  std::unique_ptr<Decimal> total(std::exchange(state->total, nullptr));
  try {
    std::optional<std::string> text = total->text(kSumDigits);
    if (!text) throw SqlError(-802);
    if (average) text->append("/").append(std::to_string(state->count));
    setResult(context, ValueView::ofText(*text));
  } catch (const SqlError& error) {
    reportFailure(context, error);
  } catch (const std::bad_alloc&) {
    reportNoMemory(context);
  }
}

// ORV_QUOTIENT("sum/count", kind, precision, scale)
void quotient(sqlite3_context* context, int, sqlite3_value** values) {
  if (anyNull(values, 4)) return;
  std::string_view text = textArgument(values[0]);
  size_t slash = text.find('/');
  auto scale = static_cast<int>(sqlite3_value_int64(values[3]));
  std::optional<Decimal> sum = Decimal::parse(text.substr(0, slash));
  std::optional<Decimal> count = Decimal::parse(text.substr(slash + 1));
  std::optional<Decimal> result;
  if (sum && count) result = Decimal::divide(*sum, *count, scale);
  bool decimal = static_cast<TypeKind>(sqlite3_value_int(values[1])) == TypeKind::Decimal;
  auto precision = decimal ? static_cast<int>(sqlite3_value_int64(values[2])) : kSumDigits;
  std::optional<std::string> shown;
  if (result) shown = result->text(precision);
  if (!shown) throw SqlError(-802);
  if (decimal) {
    setResult(context, ValueView::ofText(*shown));
  } else {
    sqlite3_result_int64(context, std::stoll(*shown));
  }
}

struct SingleRow {
  sqlite3_value* value;  // owned; released by finishSingle
  bool any;
};

void addRow(sqlite3_context* context, int, sqlite3_value** values) {
  auto* state = stateOf<SingleRow>(context);
  if (state->any) throw SqlError(-811);
  state->any = true;
  state->value = sqlite3_value_dup(values[0]);
  if (!state->value) throw std::bad_alloc();
}

void finishSingle(sqlite3_context* context) {
  auto* state = existingState<SingleRow>(context);
  if (!state || !state->value) return;
  sqlite3_result_value(context, state->value);
  sqlite3_value_free(std::exchange(state->value, nullptr));
}

struct AggregateEntry {
  const char* name;
  FunctionBody step;
  void (*finish)(sqlite3_context*);
};

}  // namespace

void registerAggregates(sqlite3* database, Environment& environment) {
  static constexpr AggregateEntry kEntries[] = {
      {"ORV_SUM_INTEGER", guarded<addInteger>, finishInteger},
      {"ORV_SUM_DECIMAL", guarded<addDecimal>, finishDecimal<false>},
      {"ORV_AVERAGE", guarded<addDecimal>, finishDecimal<true>},
      {"ORV_SINGLE", guarded<addRow>, finishSingle},
  };
  for (const AggregateEntry& entry : kEntries) {
    int rc = sqlite3_create_function_v2(database, entry.name, 1, SQLITE_UTF8 | SQLITE_INNOCUOUS,
                                        &environment, nullptr, entry.step, entry.finish, nullptr);
    if (rc != SQLITE_OK) throw failure(database, rc);
  }
  static constexpr FunctionEntry kQuotient[] = {{"ORV_QUOTIENT", 4, guarded<quotient>}};
  registerFunctions(database, environment, kQuotient);
}

}  // namespace orv::sqlite
