#include "common/server_process.h"

namespace tssoap::test {

std::string SampleServicePath() {
  return TSSOAP_BINARY_DIR "/examples/sample_service/sample_service";
}

ServerProcess StartSampleService() { return ServerProcess(SampleServicePath(), {"--port", "0"}); }

ServerProcess& SharedSampleService() {
  static ServerProcess* service = new ServerProcess(StartSampleService());
  return *service;
}

std::string SampleOperation(const std::string& head) {
  return head + "@urn:tssoap-sample@urn:tssoap-sample#" + head.substr(0, head.find('('));
}

}  // namespace tssoap::test
