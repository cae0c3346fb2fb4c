#include "common/server_process.h"

namespace tssoap::test {

std::string SampleServicePath() {
  return TSSOAP_BINARY_DIR "/examples/sample_service/sample_service";
}

ServerProcess StartSampleService() { return ServerProcess(SampleServicePath(), {"--port", "0"}); }

}  // namespace tssoap::test
