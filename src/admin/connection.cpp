// Connecting to a database and binding the library's packages there, for the administration
// command: messages go to standard error as well.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>

#include "orv/apie.h"
#include "orvxml/administration.h"
#include "orvxml/bind_options.h"
#include "orvxml/buffer.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/utilities.h"

namespace orvxml {
namespace {

constexpr char kBindList[] = "bnd/@qrkbind.lst";
constexpr int kBoundWithWarnings = 25;  // SQLCODE
constexpr int kNoHome = -102;

// The file that this code was loaded from: the library, which may be part of any process.
std::filesystem::path ownFile() {
  Dl_info info{};
  std::error_code error;
  std::filesystem::path file;
  if (dladdr(kBindList, &info) != 0 && info.dli_fname) {
    file = std::filesystem::canonical(info.dli_fname, error);
  }
  // The program itself may go by the name that it was called by.
  return file.empty() ? std::filesystem::read_symlink("/proc/self/exe", error) : file;
}

// An installation is found by ORVXML_HOME, else around the library, else where it was meant to be
// installed.
std::string installedBindList() {
  namespace fs = std::filesystem;
  const fs::path list = fs::path("orvxml") / kBindList;
  if (const char* home = std::getenv("ORVXML_HOME"); !isEmpty(home)) {
    return (fs::path(home) / "share" / list).string();
  }
  fs::path folder = ownFile().parent_path().parent_path();
  // There may be one more folder between, for the architecture.
  for (int i = 0; i < 2 && folder.has_relative_path(); ++i, folder = folder.parent_path()) {
    std::error_code error;
    const fs::path above = folder / "share" / list;
    if (fs::exists(above, error)) return above.string();
  }
  return (fs::path(ORVXML_DATA_DIR) / list).string();
}

// Copies the name that `makeName` gives into `path` (kPathSize bytes). 0, -57 when it does not fit,
// -58 when there is no memory for it.
template <class MakeName>
int writePath(char* path, MakeName&& makeName) {
  try {
    const std::string name = makeName();
    if (name.size() >= kPathSize) return codeOf(Msg::QRKG001E);
    std::memcpy(path, name.c_str(), name.size() + 1);
    return 0;
  } catch (const std::bad_alloc&) {
    return codeOf(Msg::QRKG002E);
  }
}

// The message into `msg` and to standard error. Returns -1.
int failAloud(QrkStruct* ctx, char* msg, Msg message) {
  qrkPrint(ctx, static_cast<int>(message));
  return failed(Report{ctx, msg}, message);
}

sqlca bindList(const char* list) {
  sqlca area{};
  sqlabndx(list, nullptr, BindOptions().get(), &area);
  return area;
}

// An instance without such a list, or without a home, has nothing of its own to bind.
void bindCliList(QrkStruct* ctx) {
  char list[kPathSize];
  sqlca area{};
  if (qrkGetBindCliDir(ctx, list) == 0) area = bindList(list);
  QRK_TRACE(ctx, "sqlca code after bind cli %d", area.sqlcode);
}

}  // namespace
}  // namespace orvxml

extern "C" {

int qrkConnectToDB(orvxml::QrkStruct* ctx, sqlca* ca, const char* dbName, const char* user,
                   const char* password) {
  using namespace orvxml;
  const bool named = !isEmpty(user) && !isEmpty(password);
  sqlca area{};
  orv::esql::connect(kQrkcnuwo, dbName ? dbName : "", named ? user : "", named ? password : "",
                     area);
  if (ca) *ca = area;
  if (area.sqlcode == 0) return 0;
  qrkDbPrint(ctx, &area, static_cast<int>(Msg::QRKA003E), dbName ? dbName : "");
  return -1;
}

int qrkDisconnectDB(orvxml::QrkStruct* ctx, sqlca* ca) {
  using namespace orvxml;
  sqlca area{};
  orv::esql::disconnect(kQrkcnuwo, area);
  if (ca) *ca = area;
  QRK_TRACE(ctx, "sqlcode %d", area.sqlcode);
  return area.sqlcode == 0 ? 0 : -1;
}

int qrkGetBindDir(orvxml::QrkStruct* ctx, char* path) {
  using namespace orvxml;
  QRK_TRACE(ctx, "Entered ");
  if (!path) return codeOf(Msg::QRKG001E);
  const int code = writePath(path, installedBindList);
  QRK_TRACE(ctx, "Exit");
  return code;
}

int qrkGetBindCliDir(orvxml::QrkStruct* ctx, char* path) {
  using namespace orvxml;
  if (!path) return codeOf(Msg::QRKG001E);
  const char* const home = std::getenv("HOME");
  if (!home) {
    QRK_TRACE(ctx, "HOME is not set");
    return kNoHome;
  }
  return writePath(path, [&] { return std::string(home) + "/sqllib/bnd/@orvcli.lst"; });
}

int autoBind(orvxml::QrkStruct* ctx, char* msg, int* alreadyBound) {
  using namespace orvxml;
  if (alreadyBound && *alreadyBound == 1) return failAloud(ctx, msg, Msg::QRKA072E);
  bindCliList(ctx);
  char list[kPathSize];
  if (qrkGetBindDir(ctx, list) != 0) return failAloud(ctx, msg, Msg::QRKA072E);
  sqlca area{};
  QRK_TRACE(ctx, "sqlcode before calling sqlabndx %d", area.sqlcode);
  area = bindList(list);
  QRK_TRACE(ctx, "sqlcode after calling sqlabndx %d", area.sqlcode);
  if (area.sqlcode != 0 && area.sqlcode != kBoundWithWarnings) {
    return failAloud(ctx, msg, Msg::QRKA073E);
  }
  if (alreadyBound) *alreadyBound = 1;
  return 0;
}
}
