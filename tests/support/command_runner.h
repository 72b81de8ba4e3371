// Runs the command as a user does: a process of its own with arguments, standard input and
// environment; its exit status and both outputs come back. Each Workplace is a folder of its own
// that disappears with it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orvxml::test {

struct CommandResult {
  int status = -1;  // exit status; 128 + signal when it was killed
  std::string out;
  std::string err;
};

class Workplace {
 public:
  Workplace() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvxml-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~Workplace() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;

  std::string path(const std::string& name) const { return folder_ + '/' + name; }

  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(path(name), std::ios::binary) << content;
    return path(name);
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

  // Variables like "NAME=value" for the runs that follow.
  std::vector<std::string> environment;
  // Where they start; empty: where the test did.
  std::string directory;

  // The command with ORVXML_DB pointing at "test.db" of this folder.
  CommandResult orvxml(const std::vector<std::string>& arguments,
                       const std::string& input = "") const {
    return run(ORVXML_BINARY_DIR "/bin/orvxml", arguments, input);
  }

  CommandResult run(const std::string& program, const std::vector<std::string>& arguments,
                    const std::string& input = "") const {
    int in[2], out[2], err[2];
    if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      dup2(err[1], STDERR_FILENO);
      for (const int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
      execute(program, arguments);
    }
    for (const int fd : {in[0], out[1], err[1]}) close(fd);
    CommandResult result;
    exchange(in[1], input, out[0], result.out, err[0], result.err);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
  }

 private:
  [[noreturn]] void execute(const std::string& program,
                            const std::vector<std::string>& arguments) const {
    if (!directory.empty() && chdir(directory.c_str()) != 0) _exit(127);
    setenv("ORVXML_DB", path("test.db").c_str(), 1);
    setenv("ORVINSTANCE", ("t" + std::to_string(getppid())).c_str(), 1);
    setenv("ORVQRKTEMP", folder_.c_str(), 1);
    for (const std::string& variable : environment) putenv(strdup(variable.c_str()));
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
      words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execvp(program.c_str(), words.data());
    _exit(127);
  }

  // Feeds the input and drains both outputs at once, so that no full pipe stops the child.
  static void exchange(int inFd, const std::string& input, int outFd, std::string& out, int errFd,
                       std::string& err) {
    signal(SIGPIPE, SIG_IGN);
    fcntl(inFd, F_SETFL, O_NONBLOCK);
    size_t written = 0;
    pollfd fds[3] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}, {inFd, POLLOUT, 0}};
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
      if (fds[2].fd >= 0 && written == input.size()) {
        close(inFd);
        fds[2].fd = -1;
      }
      poll(fds, 3, -1);
      if (fds[0].revents != 0) drain(fds[0], out);
      if (fds[1].revents != 0) drain(fds[1], err);
      if (fds[2].fd >= 0 && fds[2].revents != 0) {
        const ssize_t n = ::write(inFd, input.data() + written, input.size() - written);
        written = n < 0 ? input.size() : written + static_cast<size_t>(n);
      }
    }
    if (fds[2].fd >= 0) close(inFd);
  }

  static void drain(pollfd& fd, std::string& content) {
    char block[8192];
    const ssize_t n = ::read(fd.fd, block, sizeof block);
    if (n > 0) {
      content.append(block, static_cast<size_t>(n));
    } else {
      close(fd.fd);
      fd.fd = -1;
    }
  }

  std::string folder_;
};

}  // namespace orvxml::test
