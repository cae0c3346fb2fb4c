// Programs that the command-line tool and the tests start beside themselves.
//
// ChildProcess: a program with a pipe as its stdin and its stdout read line by line on a thread
// of the helper. The helper owns the process: its destructor closes the stdin pipe (programs that
// watch it end by themselves), sends SIGTERM, waits a bounded time, and kills what is left. A
// parent that dies takes the stdin pipe with it, so nothing is orphaned.
//
// ServerProcess: a server program that prints "PORT <n>" on a line of its own once it listens on
// 127.0.0.1. The constructor waits for that line a bounded time.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tssoap::process {

class ChildProcess {
 public:
  // Starts program (a path, or a name looked up in PATH) with arguments; Running() tells whether
  // that worked, Error() why not.
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

class ServerProcess {
 public:
  static constexpr std::chrono::seconds kStartWait{15};

  ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                std::chrono::milliseconds startWait = kStartWait);

  // True when the program runs and told its port.
  bool Started() const { return port_ > 0; }
  // Why it didn't start, for a failure message.
  std::string Error() const;
  int Port() const { return port_; }
  // "http://127.0.0.1:<port><path>"; path should begin with "/".
  std::string Url(const std::string& path = "/") const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }
  ChildProcess& Process() { return process_; }
  void Stop() { process_.Stop(); }

 private:
  ChildProcess process_;
  int port_ = 0;
};

}  // namespace tssoap::process
