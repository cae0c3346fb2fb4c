// Programs a test starts. ChildProcess: a program with a pipe as its stdin and its stdout read
// line by line on a thread of the helper. The helper owns the process: its destructor closes the
// stdin pipe (programs that watch it end by themselves), sends SIGTERM, waits a bounded time, and
// kills what is left. A test that dies takes the stdin pipe with it, so nothing is orphaned.
//
// ServerProcess: a server program that prints "PORT <n>" on a line of its own once it listens on
// 127.0.0.1. The constructor waits for that line a bounded time. StartSampleService() starts the
// bundled gSOAP sample service on an ephemeral port.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/loopback_http_server.h"

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

class ServerProcess {
 public:
  static constexpr std::chrono::seconds kStartWait{15};

  ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                std::chrono::milliseconds startWait = kStartWait);

  // True when the program runs and told its port.
  bool Started() const { return port_ > 0; }
  // Why it didn't start, for the test's failure message.
  std::string Error() const;
  int Port() const { return port_; }
  // "http://127.0.0.1:<port><path>"; path should begin with "/".
  std::string Url(const std::string& path = "/") const { return LoopbackUrl(port_, path); }
  ChildProcess& Process() { return process_; }

 private:
  ChildProcess process_;
  int port_ = 0;
};

// The path of the built sample service.
std::string SampleServicePath();

// The sample service on an ephemeral port.
ServerProcess StartSampleService();

// The sample service's namespace and the SOAP encoding namespaces, for building requests.
inline constexpr const char* kSampleNamespace = "urn:tssoap-sample";
inline constexpr const char* kXsdNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXsiNamespace = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr const char* kSoapEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";

}  // namespace tssoap::test
