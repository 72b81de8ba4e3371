// Work in a process of its own, beside the test's. Both can wait for each other; the child counts
// its progress where the test sees it, even when the child was killed.
//
//   ChildProcess child([&](ChildProcess::Inside& here) { ...; here.step(); here.tell(); });
//   child.await();                         // until it tells
//   EXPECT_EQ(child.end(), Ending::Whole);  // and that none of its expectations failed
//
// No database may be open in the test when the child begins.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <new>

namespace orvxml::test {

enum class Ending { Whole, Killed, Wrong };

class ChildProcess {
 public:
  // What both of them see.
  struct Shared {
    int steps = 0;
    long number = 0;
  };

  class Inside {
   public:
    Inside(Shared& shared, int in, int out) : shared_(shared), in_(in), out_(out) {}
    void step() { ++shared_.steps; }
    void leave(long number) { shared_.number = number; }
    void tell() { ASSERT_EQ(::write(out_, "", 1), 1); }
    void await() {
      char byte;
      ASSERT_EQ(::read(in_, &byte, 1), 1);
    }

   private:
    Shared& shared_;
    int in_, out_;
  };

  explicit ChildProcess(const std::function<void(Inside&)>& work)
      : shared_(new (::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared) {
    std::signal(SIGPIPE, SIG_IGN);
    int toChild[2], toTest[2];
    EXPECT_EQ(::pipe(toChild), 0);
    EXPECT_EQ(::pipe(toTest), 0);
    process_ = ::fork();
    EXPECT_GE(process_, 0);
    if (process_ == 0) {
      ::close(toChild[1]);
      ::close(toTest[0]);
      Inside here(*shared_, toChild[0], toTest[1]);
      work(here);
      ::_exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    ::close(toChild[0]);
    ::close(toTest[1]);
    in_ = toTest[0];
    out_ = toChild[1];
  }
  ~ChildProcess() {
    ::close(out_);  // for a child that waits
    if (process_ > 0) end();
    ::close(in_);
    ::munmap(shared_, sizeof *shared_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void tell() { EXPECT_EQ(::write(out_, "", 1), 1); }
  void await() {
    char byte;
    EXPECT_EQ(::read(in_, &byte, 1), 1) << "the child has ended";
  }

  // Kills the child unless it ends within the time.
  void killAfter(std::chrono::microseconds time) {
    const timespec limit{time.count() / 1'000'000, time.count() % 1'000'000 * 1000};
    pollfd end{in_, POLLIN, 0};
    if (::ppoll(&end, 1, &limit, nullptr) == 0) ::kill(process_, SIGKILL);
  }

  Ending end() {
    int status = 0;
    EXPECT_EQ(::waitpid(process_, &status, 0), process_);
    process_ = 0;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return Ending::Killed;
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS ? Ending::Whole : Ending::Wrong;
  }

  int steps() const { return shared_->steps; }
  long number() const { return shared_->number; }

 private:
  Shared* const shared_;
  pid_t process_ = 0;
  int in_ = -1, out_ = -1;
};

}  // namespace orvxml::test
