#include "bench/support.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

#include "orv/apie.h"
#include "orv/xmlinit.h"

namespace bench {
namespace {

constexpr int kUtf8CodePage = 1208;
const char kBindList[] = ORVXML_BINARY_DIR "/share/orvxml/bnd/@qrkbind.lst";

long statusKilobytes(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string name;
  long value = 0;
  for (std::string rest; status >> name; std::getline(status, rest)) {
    if (name == field) status >> value;
    if (name == field) break;
  }
  return value;
}

}  // namespace

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "benchmark: %s\n", what.c_str());
  std::exit(1);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  require(file.good(), "cannot read " + path);
  return content.str();
}

ClobPtr asClob(std::string_view text) {
  auto* value = static_cast<clob*>(std::malloc(sizeof(clob) + text.size()));
  value->length = static_cast<int32_t>(text.size());
  text.copy(value->data, text.size());
  return {value, &std::free};
}

Database::Database(const std::filesystem::path& path, const std::string& tables) {
  orv::Outcome outcome;
  session_ = orv::Session::create(path.string(), kUtf8CodePage, outcome);
  require(session_ != nullptr, outcome.message);
  session_->makeCurrent();
  sqlca area{};
  sqlabndx(kBindList, nullptr, nullptr, &area);
  require(area.sqlcode == 0, std::string("cannot bind ") + kBindList);
  for (const orv::ScriptStatement& statement : orv::splitScript(tables)) run(statement.text);
  session_->commit();
}

void Database::run(const std::string& statement) {
  const orv::Outcome outcome = session_->run(statement).outcome;
  require(!outcome.failed(), outcome.message);
}

TemporaryFolder::TemporaryFolder(const std::string& name) {
  std::string pattern = (std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string();
  require(mkdtemp(pattern.data()) != nullptr, "no folder for the databases");
  path_ = pattern;
}

double milliseconds(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

double processorMilliseconds(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
  };
  const double begin = now();
  work();
  return now() - begin;
}

long peakKilobytes(const std::function<std::function<void()>()>& prepare) {
  int pipes[2];
  require(pipe(pipes) == 0, "no pipe");
  const pid_t child = fork();
  if (child == 0) {
    const std::function<void()> work = prepare();
    malloc_trim(0);  // what the preparation has freed must not hide what the work needs
    std::ofstream("/proc/self/clear_refs") << "5";
    const long before = statusKilobytes("VmRSS:");
    work();
    const long grown = statusKilobytes("VmHWM:") - before;
    require(write(pipes[1], &grown, sizeof grown) == sizeof grown, "no pipe");
    _exit(0);
  }
  close(pipes[1]);
  long grown = 0;
  const bool answered = read(pipes[0], &grown, sizeof grown) == sizeof grown;
  waitpid(child, nullptr, 0);
  close(pipes[0]);
  require(answered, "a measuring process failed");
  return grown;
}

void start() {
  setenv("ORVINSTANCE", "orvxml", 0);
  require(isSharedLibInitSuccess() != 0, "the parser did not initialise");
}

}  // namespace bench
