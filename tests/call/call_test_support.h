// Helpers of the call road's tests: the sample service shared by the tests of one program, a
// proxy class that points at it, a call log in a file of its own, and the host locale a test
// switches to. Each helper undoes what it did when it ends.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "common/server_process.h"
#include "testhost/testhost.h"

namespace tssoap::test {

// The description of a sample service operation: "<head>@urn:tssoap-sample@urn:tssoap-sample#op"
// where op is the head's text in front of its "(".
std::string SampleOperation(std::string_view head);

// The sample service, started on first use and ended when the test program ends.
ServerProcess& SampleServer();

// Declares the proxy class "sampleproxy" (endpoint, xsd, BindingStyle "rpc"), creates a
// soapconnection with the given setoptions string, and makes a proxy object with it.
HostObject MakeSampleProxy(testhost::Runtime& host, const std::string& endpoint,
                           const std::string& options = "");

// How many TCP connections the sample service has accepted, asked through proxy itself.
int64_t ServerConnections(testhost::Runtime& host, HostObject proxy);

// A call log file of the test's own, switched on through a soapconnection's "soaplog" and
// switched off and removed at the end.
class CallLogFile {
 public:
  explicit CallLogFile(testhost::Runtime& host);
  ~CallLogFile();
  CallLogFile(const CallLogFile&) = delete;
  CallLogFile& operator=(const CallLogFile&) = delete;

  // What the log holds now.
  std::string Contents() const;
  // How often text occurs in the log.
  size_t Count(std::string_view text) const;

 private:
  testhost::Runtime& host_;
  HostObject connection_ = 0;
  std::string path_;
};

// Runs the test with the environment's locale set to name (the host's code page is the
// environment's), and goes back to the C locale at the end.
class ScopedHostLocale {
 public:
  explicit ScopedHostLocale(const char* name);
  ~ScopedHostLocale();
  ScopedHostLocale(const ScopedHostLocale&) = delete;
  ScopedHostLocale& operator=(const ScopedHostLocale&) = delete;

  // False when the machine lacks the locale (scripts/install-deps.sh generates the ones we use).
  bool Available() const { return available_; }

 private:
  std::string saved_;
  bool hadValue_ = false;
  bool available_ = false;
};

}  // namespace tssoap::test
