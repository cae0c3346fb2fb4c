#include "common/server_process.h"

#include <cstdlib>

namespace tssoap::test {

ServerProcess::ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                             std::chrono::milliseconds startWait)
    : process_(program, arguments) {
  if (!process_.Error().empty()) return;
  std::string line = process_.WaitForLine("PORT ", startWait);
  if (!line.empty()) port_ = std::atoi(line.c_str() + 5);
}

std::string ServerProcess::Error() const {
  if (!process_.Error().empty()) return process_.Error();
  if (port_ <= 0) return "the server printed no \"PORT <n>\" line in time";
  return {};
}

std::string ServerProcess::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::string SampleServicePath() {
  return TSSOAP_BINARY_DIR "/examples/sample_service/sample_service";
}

ServerProcess StartSampleService(const std::vector<std::string>& extraArguments) {
  std::vector<std::string> arguments{"--port", "0"};
  arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
  return ServerProcess(SampleServicePath(), arguments);
}

}  // namespace tssoap::test
