// The trace: a control file in /tmp, one per server instance, names the file that every call
// appends its lines to. Anybody can write to /tmp and to the trace file: a control file counts for
// its owner, and for everybody when it is root's, when nobody else can have written it; it names
// nothing but a trace file.
#include "orvxml/trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <string>

#include "src/files/file_handle.h"

namespace orvxml {
namespace {

constexpr const char* kControlDirectory = "/tmp";
constexpr const char* kInstanceVariable = "ORVINSTANCE";
constexpr const char* kNoInstanceState = "38X35";
constexpr const char* kSuccessState = "00000";
constexpr mode_t kForEverybody = 0666;
constexpr mode_t kForItsOwner = 0644;

// No file permission is masked out while this lives: for files that are for everybody. The mask is
// the whole process's, so that it is left alone where no file is made.
class OpenFileMode {
 public:
  OpenFileMode() : saved_(::umask(0)) {}
  ~OpenFileMode() { ::umask(saved_); }
  OpenFileMode(const OpenFileMode&) = delete;
  OpenFileMode& operator=(const OpenFileMode&) = delete;

 private:
  mode_t saved_;
};

// What the steps of one trace request share.
struct TraceCall {
  QrkStruct* ctx;  // where the trace file's name is kept; never null
  Report report;   // where the outcome goes
  std::string directory;
  std::string instance;

  std::string controlFile() const {
    return std::string(kControlDirectory) + "/qrk" + instance + ".ctl";
  }
  std::string traceFile() const { return directory + "/qrk" + instance + ".trc"; }
};

bool isOfCallerOrRoot(const struct stat& status) {
  return status.st_uid == ::geteuid() || status.st_uid == 0;
}

// What somebody else has put there, or can have given another name or content.
bool isOfStranger(const struct stat& status) {
  return !isOfCallerOrRoot(status) ||
         (S_ISREG(status.st_mode) &&
          (status.st_nlink > 1 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0));
}

// A second name matters where it may have been made to have a file written that is not for
// everybody.
bool isTraceFile(const struct stat& status) {
  const bool isForEverybody = (status.st_mode & kForEverybody) == kForEverybody;
  return isOfCallerOrRoot(status) && (status.st_nlink == 1 || isForEverybody);
}
bool isControlFile(const struct stat& status) {
  return isOfCallerOrRoot(status) && status.st_nlink == 1;
}

// Opens a file by its name; null with errno for a link, a pipe, a device, a directory, and what is
// not `wanted`.
FileHandle openPlainFile(const std::string& path, int flags, const char* mode, mode_t rights,
                         bool (*wanted)(const struct stat&)) {
  const int fd =
      ::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, rights);
  if (fd < 0) return nullptr;
  struct stat status;
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || !wanted(status)) {
    ::close(fd);
    errno = EINVAL;
    return nullptr;
  }
  FILE* file = ::fdopen(fd, mode);
  if (!file) ::close(fd);
  return FileHandle(file);
}

FileHandle openTraceFile(const std::string& path) {
  return openPlainFile(path, O_RDWR | O_APPEND | O_CREAT, "a+", kForEverybody, isTraceFile);
}

// The first line of the control file into the context.
void readTraceFileName(QrkStruct* ctx, FILE* control) {
  if (!std::fgets(ctx->traceFileName, sizeof ctx->traceFileName, control)) {
    ctx->traceFileName[0] = 0;
  }
  ctx->traceFileName[std::strcspn(ctx->traceFileName, "\n")] = 0;
}

FileHandle openForCall(const TraceCall& call) {
  const std::string path = call.controlFile();
  // Nearly every call ends here, and to ask costs less than to open.
  struct stat status;
  const bool isThere = ::lstat(path.c_str(), &status) == 0;
  if (isThere ? isOfStranger(status) : errno == ENOENT) return nullptr;
  const FileHandle control = openPlainFile(path, O_RDONLY, "r", 0, isControlFile);
  if (!control) {
    if (errno == ENOENT) return nullptr;
    QRK_TRACE(call.ctx, "'%s' %s", path.c_str(), std::strerror(errno));
    fail(call.report, Msg::QRKC000E);
    *call.report.errCode = kUnreadableControlFile;
    return nullptr;
  }
  readTraceFileName(call.ctx, control.get());
  const OpenFileMode openMode;
  const std::string name = call.ctx->traceFileName;
  FileHandle trace(name.ends_with(call.traceFile()) ? openTraceFile(name) : nullptr);
  if (!trace) fail(call.report, Msg::QRKC003E);
  return trace;
}

bool writeControlFile(const std::string& path, const std::string& traceFile) {
  FileHandle control = openPlainFile(path, O_RDWR | O_CREAT, "r+", kForItsOwner, isControlFile);
  if (!control || ::ftruncate(::fileno(control.get()), 0) != 0 ||
      ::fchmod(::fileno(control.get()), kForItsOwner) != 0) {
    return false;
  }
  const bool written = std::fputs(traceFile.c_str(), control.get()) >= 0;
  return std::fclose(control.release()) == 0 && written;
}

FileHandle turnOn(const TraceCall& call) {
  const OpenFileMode openMode;
  const std::string path = call.traceFile();
  FileHandle trace;
  if (path.size() < sizeof call.ctx->traceFileName) {
    std::strcpy(call.ctx->traceFileName, path.c_str());
    trace = openTraceFile(path);
  }
  if (!trace) {
    fail(call.report, Msg::QRKC009E, call.directory);
    return nullptr;
  }
  if (!writeControlFile(call.controlFile(), path)) {
    fail(call.report, Msg::QRKC011E);
    return nullptr;
  }
  report(call.report, Msg::QRKA068I);
  return trace;
}

void turnOff(const TraceCall& call) {
  const std::string path = call.controlFile();
  if (std::remove(path.c_str()) == 0) {
    report(call.report, Msg::QRKA069I);
  } else {
    fail(call.report, Msg::QRKC008E, path);
  }
  qrkTraceExit(call.ctx);
  call.ctx->traceFileName[0] = 0;
}

// The outcome of a request without a usable instance name: `out` gets the SQLSTATE where there is
// no name and for kTraceInit, else the message.
void refuseInstance(QrkStruct* ctx, int request, const char* instance, int* rc, char* out) {
  if (!instance) {
    std::strcpy(out, kNoInstanceState);
    *rc = kNoInstance;
  } else if (request == kTraceInit) {
    std::strcpy(out, kNoInstanceState);
    *rc = codeOf(Msg::QRKA076E);
  } else {
    fail(Report{ctx, out, rc}, Msg::QRKA076E);
  }
}

}  // namespace

// An instance name is one part of a file name: with a '/' it would leave the control directory.
FILE* qrkGetTrace(QrkStruct* ctx, int request, char* directory, char* instance, int* rc,
                  char* out) {
  const char* name = instance ? instance : std::getenv(kInstanceVariable);
  if (!name || std::strchr(name, '/')) {
    refuseInstance(ctx, request, name, rc, out);
    return nullptr;
  }
  QrkStruct withoutContext{};
  const bool wantsState = request == kTraceInit;
  const TraceCall call{ctx ? ctx : &withoutContext,
                       {ctx, wantsState ? nullptr : out, rc, wantsState ? out : nullptr},
                       directory ? directory : "",
                       name};
  *rc = 0;
  errno = 0;
  std::strcpy(out, kSuccessState);
  if (request == kTraceInit) return openForCall(call).release();
  if (request == kTraceOn) return turnOn(call).release();
  if (request == kTraceOff) turnOff(call);
  return nullptr;
}

int qrkTraceInit(QrkStruct* ctx, char* sqlstate) {
  if (ctx->traceFile && ctx->traceOn == 1) {
    *sqlstate = 0;
    return 0;
  }
  int rc = 0;
  if (FILE* trace = qrkGetTrace(ctx, kTraceInit, nullptr, nullptr, &rc, sqlstate)) {
    ctx->traceFile = trace;
    ctx->traceOn = 1;
  }
  return rc;
}

int qrkTraceExit(QrkStruct* ctx) {
  if (ctx->traceFile) std::fclose(ctx->traceFile);
  ctx->traceFile = nullptr;
  ctx->traceOn = 0;
  return 0;
}

void qrkDebugPrintFunction(void* context, const char* format, ...) {
  const auto* ctx = static_cast<QrkStruct*>(context);
  if (!ctx || !ctx->traceFile) return;
  va_list args;
  va_start(args, format);
  std::vfprintf(ctx->traceFile, format, args);
  va_end(args);
  std::fflush(ctx->traceFile);
}

}  // namespace orvxml

extern "C" int qrkTraceOn(orvxml::QrkStruct* ctx, char* directory, char* instance, char* msg,
                          int* rc) try {
  FILE* trace = orvxml::qrkGetTrace(ctx, orvxml::kTraceOn, directory, instance, rc, msg);
  if (!trace) return -1;
  const std::time_t now = std::time(nullptr);
  char date[26];
  std::fprintf(trace, "*** Trace turned on %s\n", ::ctime_r(&now, date));
  std::fclose(trace);
  return 0;
} catch (const std::bad_alloc&) {
  orvxml::fail({ctx, msg, rc}, orvxml::Msg::QRKG002E);
  return -1;
}

extern "C" int qrkTraceOff(orvxml::QrkStruct* ctx, char* instance, char* msg, int* rc) try {
  orvxml::qrkGetTrace(ctx, orvxml::kTraceOff, nullptr, instance, rc, msg);
  return *rc == 0 ? 0 : -1;
} catch (const std::bad_alloc&) {
  orvxml::fail({ctx, msg, rc}, orvxml::Msg::QRKG002E);
  return -1;
}
