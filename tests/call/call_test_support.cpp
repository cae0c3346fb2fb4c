#include "call/call_test_support.h"

#include <unistd.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tssoap::test {

std::string SampleOperation(std::string_view head) {
  const std::string_view operation = head.substr(0, head.find('('));
  std::string description(head);
  description += "@urn:tssoap-sample@urn:tssoap-sample#";
  description += operation;
  return description;
}

ServerProcess& SampleServer() {
  // Ended by the static destructor when the program ends; the service also ends when its stdin
  // pipe closes, so a test program that dies leaves none behind.
  static ServerProcess* server = new ServerProcess(StartSampleService());
  return *server;
}

HostObject MakeSampleProxy(testhost::Runtime& host, const std::string& endpoint,
                           const std::string& options) {
  host.DefineProxyClass("sampleproxy", {{"endpoint", endpoint},
                                        {"xsd", "http://www.w3.org/2001/XMLSchema"},
                                        {"BindingStyle", "rpc"}});
  const HostObject connection = host.CreateConnection();
  if (!options.empty()) {
    EXPECT_EQ(host.SetOptions(connection, options.c_str()), 0) << options;
  }
  const testhost::Runtime::CreateResult created = host.CreateInstance(connection, "SampleProxy");
  EXPECT_EQ(created.result, 0);
  return created.proxy;
}

int64_t ServerConnections(testhost::Runtime& host, HostObject proxy) {
  const testhost::CallOutcome outcome =
      host.Call(proxy, SampleOperation("getConnectionCount() return xsd:int count"), {},
                testhost::Value::Long(0));
  if (outcome.exception.has_value()) {
    ADD_FAILURE() << "getConnectionCount failed: " << outcome.exception->text;
    return -1;
  }
  return outcome.result.AsInt();
}

CallLogFile::CallLogFile(testhost::Runtime& host) : host_(host) {
  static std::atomic<int> counter{0};
  path_ = (std::filesystem::temp_directory_path() /
           ("tssoap-call-" + std::to_string(getpid()) + "-" + std::to_string(++counter) + ".log"))
              .string();
  std::filesystem::remove(path_);
  connection_ = host_.CreateConnection();
  const std::string option = "soaplog='" + path_ + "'";
  EXPECT_EQ(host_.SetOptions(connection_, option.c_str()), 0);
}

CallLogFile::~CallLogFile() {
  // An empty name closes the file and opens none: the log is the process's.
  host_.SetOptions(connection_, "soaplog=''");
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

std::string CallLogFile::Contents() const {
  std::ifstream file(path_, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

size_t CallLogFile::Count(std::string_view text) const {
  const std::string contents = Contents();
  size_t count = 0;
  for (size_t at = contents.find(text); at != std::string::npos;
       at = contents.find(text, at + text.size())) {
    ++count;
  }
  return count;
}

ScopedHostLocale::ScopedHostLocale(const char* name) {
  if (const char* saved = std::getenv("LC_ALL"); saved != nullptr) {
    saved_ = saved;
    hadValue_ = true;
  }
  setenv("LC_ALL", name, 1);
  available_ = std::setlocale(LC_ALL, "") != nullptr;
  std::setlocale(LC_ALL, "C");
}

ScopedHostLocale::~ScopedHostLocale() {
  if (hadValue_) {
    setenv("LC_ALL", saved_.c_str(), 1);
  } else {
    unsetenv("LC_ALL");
  }
  std::setlocale(LC_ALL, "C");
}

}  // namespace tssoap::test
