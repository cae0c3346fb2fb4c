#include "tools/tssoap/service_process.h"

#include <stdexcept>

namespace tssoap::cli {

ServiceProcess::ServiceProcess(const std::string& program) : server_(program, {"--port", "0"}) {
  if (!server_.Started()) {
    throw std::runtime_error("can't start the sample service " + program + ": " + server_.Error());
  }
}

}  // namespace tssoap::cli
