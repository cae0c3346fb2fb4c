// ServiceProcess: the bundled sample service run as a child process for the demo, on 127.0.0.1
// with an ephemeral port. It watches its stdin pipe, so that it ends by itself when this process
// ends, however that happens; Stop (and the destructor) ends it at once.
#pragma once

#include <string>

#include "tools/process/child_process.h"

namespace tssoap::cli {

class ServiceProcess {
 public:
  // Starts program with "--port 0" and waits for its port; throws std::runtime_error saying why
  // it didn't start.
  explicit ServiceProcess(const std::string& program);

  int Port() const { return server_.Port(); }
  // Ends the service; safe to call twice.
  void Stop() { server_.Stop(); }

 private:
  process::ServerProcess server_;
};

}  // namespace tssoap::cli
