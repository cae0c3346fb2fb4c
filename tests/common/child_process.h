// ChildProcess: a program started by a test, with a pipe as its stdin and its stdout read line by
// line on a thread of the helper. The helper owns the process: its destructor closes the stdin
// pipe (programs that watch it end by themselves), sends SIGTERM, waits a bounded time, and
// kills what is left. A test that dies takes the stdin pipe with it, so nothing is orphaned.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tssoap::test {

class ChildProcess {
 public:
  // Starts program (a path) with arguments; Running() tells whether that worked, Error() why not.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool Running() const;
  const std::string& Error() const { return error_; }

  // Lines that begin with prefix.
  size_t CountLines(std::string_view prefix) const;
  // Waits until count lines begin with prefix, or the program's stdout ends, or timeout passes.
  bool WaitForLines(std::string_view prefix, size_t count, std::chrono::milliseconds timeout) const;
  // The first line that begins with prefix, waiting as WaitForLines; empty when none came.
  std::string WaitForLine(std::string_view prefix, std::chrono::milliseconds timeout) const;

  // Ends the program now, as the destructor does. Safe to call twice.
  void Stop();

 private:
  void ReadOutput(int fd);
  size_t CountLinesLocked(std::string_view prefix) const;

  pid_t pid_ = -1;
  int stdinWrite_ = -1;
  std::string error_;
  std::thread reader_;
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  std::vector<std::string> lines_;
  bool outputEnded_ = false;
};

}  // namespace tssoap::test
