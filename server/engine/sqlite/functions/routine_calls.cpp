// ORV_FUNCTION keeps its use of the function with SQLite, as data of its constant first argument.
// Cursors have no such place: the uses of table functions that wait for their next cursor are kept
// here.
#include "server/engine/sqlite/functions/routine_calls.h"

#include "server/engine/sqlite/connection/sqlite_connection.h"
#include "server/engine/sqlite/functions/function_support.h"

namespace orv::sqlite {
namespace {

// One reference to a scalar function in one run of a statement.
class ScalarCall {
 public:
  ScalarCall(const Environment& environment, FunctionPtr function)
      : length_(environment.length()),
        function_(std::move(function)),
        use_(environment.host->useScalar(*function_)) {}

  // The result's bytes are good until the next call.
  ValueView run(std::span<sqlite3_value*> values) {
    arguments_.clear();
    for (sqlite3_value* value : values) arguments_.push_back(viewOf(value));
    return convertValue(use_->call(arguments_), function_->result, length_,
                        ConversionMode::Assignment, storage_);
  }

 private:
  const TextLength& length_;
  FunctionPtr function_;
  std::unique_ptr<ScalarFunctionUse> use_;
  std::vector<ValueView> arguments_;
  std::string storage_;
};

// SQLite keeps what belongs to a constant argument until the run of the statement ends, and in a
// trigger until the trigger does for this row. Where it keeps nothing, the call is a use of its
// own.
void callScalar(sqlite3_context* context, int count, sqlite3_value** values) {
  auto* call = static_cast<ScalarCall*>(sqlite3_get_auxdata(context, 0));
  std::unique_ptr<ScalarCall> first;
  if (!call) {
    const Environment& environment = environmentOf(context);
    first = std::make_unique<ScalarCall>(environment,
                                         calledFunction(environment, values[0], values[1]));
    call = first.get();
  }
  setResult(context, call->run({values + 2, static_cast<size_t>(count - 2)}));
  if (!first) return;
  sqlite3_set_auxdata(context, 0, first.release(),
                      [](void* kept) { delete static_cast<ScalarCall*>(kept); });
}

}  // namespace

FunctionPtr calledFunction(const Environment& environment, sqlite3_value* schema,
                           sqlite3_value* specific) {
  std::shared_ptr<const CatalogData> catalog = environment.catalog();
  const std::string_view schemaName = textArgument(schema);
  const std::string_view name = textArgument(specific);
  const Function* function = catalog->findSpecificFunction(schemaName, name);
  const std::string qualified = std::string(schemaName) + "." + std::string(name);
  if (!function) throw SqlError(-440, {qualified});
  if (!environment.host) throw SqlError(-901, {"nobody calls the function " + qualified});
  return {std::move(catalog), function};
}

std::unique_ptr<TableFunctionUse> IdleTableUses::take(const Function& function) {
  for (auto& [name, use] : uses_) {
    if (use && name.first == function.schema && name.second == function.specific) {
      return std::move(use);
    }
  }
  return nullptr;
}

void IdleTableUses::keep(const Function& function, std::unique_ptr<TableFunctionUse> use) {
  const Name name(function.schema, function.specific);
  for (auto& [known, place] : uses_) {
    if (!place && known == name) {
      place = std::move(use);
      return;
    }
  }
  uses_.emplace_back(name, std::move(use));
}

void registerScalarCalls(sqlite3* database, Environment& environment) {
  // Never deterministic for SQLite, which would take the call out of the run of the statement.
  const int rc =
      sqlite3_create_function_v2(database, "ORV_FUNCTION", -1, SQLITE_UTF8 | SQLITE_INNOCUOUS,
                                 &environment, guarded<callScalar>, nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) throw failure(database, rc);
}

}  // namespace orv::sqlite
