// ServiceProcess: the bundled sample service run as a child process for the demo. It is started
// on 127.0.0.1 with an ephemeral port and tells its port on a "PORT <n>" line; its stdin is a pipe
// that it watches, so that it ends by itself when this process ends, however that happens. The
// ServiceProcess owns the child: Stop (and the destructor) closes the pipe, sends SIGTERM, waits
// a bounded time and kills what is left.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <thread>

namespace tssoap::cli {

class ServiceProcess {
 public:
  static constexpr std::chrono::seconds kStartWait{15};

  // Starts program with "--port 0" and waits for its port; throws std::runtime_error saying why
  // it didn't start.
  explicit ServiceProcess(const std::string& program);
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  int Port() const { return port_; }
  // Ends the service; safe to call twice.
  void Stop();

 private:
  pid_t pid_ = -1;
  int stdinWrite_ = -1;
  int port_ = 0;
  std::thread drain_;  // reads the service's later lines, so that it never blocks on a full pipe
};

}  // namespace tssoap::cli
