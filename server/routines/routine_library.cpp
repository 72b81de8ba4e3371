#include "server/routines/routine_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <mutex>

#include "server/values/sql_error.h"

namespace orv {
namespace {

bool isPlainName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
  });
}

// The folder that this code was loaded from, with its slash; empty when the loader does not say.
std::string ownFolder() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<const void*>(&ownFolder), &info) || !info.dli_fname) return {};
  const std::string file = info.dli_fname;
  const size_t slash = file.find_last_of('/');
  return slash == std::string::npos ? std::string() : file.substr(0, slash + 1);
}

void* load(const std::string& name) {
  static const std::string kFolder = ownFolder();
  for (const std::string& folder : {kFolder, std::string()}) {
    for (const char* suffix : {".so.1", ".so"}) {
      std::string file = folder;
      file.append("lib").append(name).append(suffix);
      if (void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    }
  }
  return nullptr;
}

void* loadedLibrary(const std::string& name) {
  static std::mutex mutex;
  static std::map<std::string, void*> libraries;
  const std::lock_guard<std::mutex> lock(mutex);
  const auto at = libraries.find(name);
  if (at != libraries.end()) return at->second;
  void* library = load(name);
  if (library) libraries.emplace(name, library);
  return library;
}

}  // namespace

void* findRoutineEntry(const std::string& library, const std::string& entry,
                       const std::string& routine) {
  void* loaded = isPlainName(library) ? loadedLibrary(library) : nullptr;
  if (!loaded) throw SqlError(-444, {routine, library});
  void* address = entry.empty() ? nullptr : dlsym(loaded, entry.c_str());
  if (!address) throw SqlError(-444, {routine, library + "!" + entry});
  return address;
}

}  // namespace orv
