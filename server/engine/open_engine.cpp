// Chooses the engine by the URL of the database.
#include "server/engine/engine.h"
#include "server/engine/sqlite/sqlite_engine.h"

namespace orv {

std::unique_ptr<Engine> openEngine(std::string_view url, const EngineOptions& options) {
  constexpr std::string_view kScheme = "sqlite:";
  if (url.starts_with(kScheme)) url.remove_prefix(kScheme.size());
  if (url.empty()) throw SqlError(-1001, {""});
  return std::make_unique<sqlite::SqliteEngine>(std::string(url), options);
}

}  // namespace orv
