// ServerProcess: a server program started by a test that prints "PORT <n>" on a line of its own
// once it listens on 127.0.0.1. The constructor waits for that line a bounded time; the
// destructor ends the program (see ChildProcess). SampleService() starts the bundled gSOAP
// sample service on an ephemeral port.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "common/child_process.h"

namespace tssoap::test {

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
  std::string Url(const std::string& path = "/") const;
  ChildProcess& Process() { return process_; }
  const ChildProcess& Process() const { return process_; }

 private:
  ChildProcess process_;
  int port_ = 0;
};

// The path of the built sample service.
std::string SampleServicePath();

// The sample service on an ephemeral port, with extra arguments (e.g. "--chunked").
ServerProcess StartSampleService(const std::vector<std::string>& extraArguments = {});

// The sample service's namespace and the SOAP encoding namespaces, for building requests.
inline constexpr const char* kSampleNamespace = "urn:tssoap-sample";
inline constexpr const char* kXsdNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXsiNamespace = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr const char* kSoapEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";
inline constexpr const char* kSoapEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";

}  // namespace tssoap::test
