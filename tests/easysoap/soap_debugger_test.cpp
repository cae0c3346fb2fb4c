// The process-wide log: safe without a file, levels, switching files, and the traffic the proxy
// records (never a password).
#include "easysoap/soap_debugger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "common/misbehaving_servers.h"
#include "easysoap/library_test_support.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class SoapDebuggerTest : public ::testing::Test {
 protected:
  void TearDown() override {
    SOAPDebugger::Close();
    SOAPDebugger::SetMessageLevel(0);
    for (const std::string& path : {first_, second_}) std::remove(path.c_str());
  }
  static std::string Read(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }

  const std::string first_ = ::testing::TempDir() + "tssoap-log-" + std::to_string(getpid());
  const std::string second_ = first_ + ".second";
};

// Without a file nothing is written and nothing fails. Bytes go unchanged, up to the level set,
// into the file in force; a file set again is appended to.
TEST_F(SoapDebuggerTest, WritesUpToTheLevelIntoTheFileInForce) {
  SOAPDebugger::Close();
  SOAPDebugger::SetMessageLevel(10);
  SOAPDebugger::Write(1, "nowhere\n", 8);
  EXPECT_FALSE(SOAPDebugger::IsLogging(1));
  EXPECT_FALSE(SOAPDebugger::SetFile("/nonexistent-dir/x.log"));
  EXPECT_FALSE(SOAPDebugger::SetFile(nullptr));
  ASSERT_TRUE(SOAPDebugger::SetFile(first_.c_str()));
  SOAPDebugger::Write(1, "Connection Cached\nTRAILING", 18);
  SOAPDebugger::Write(10, "at the level\n", 13);
  SOAPDebugger::Write(11, "above the level\n", 16);
  SOAPDebugger::Write(1, nullptr, 5);
  SOAPDebugger::Write(1, std::string("a\0b\n", 4).data(), 4);
  ASSERT_TRUE(SOAPDebugger::SetFile(second_.c_str()));
  SOAPDebugger::Write(1, "two\n", 4);
  ASSERT_TRUE(SOAPDebugger::SetFile(first_.c_str()));
  SOAPDebugger::Write(1, "three\n", 6);
  SOAPDebugger::Close();
  SOAPDebugger::Write(1, "after close\n", 12);
  EXPECT_EQ(Read(first_), std::string("Connection Cached\nat the level\na\0b\nthree\n", 41));
  EXPECT_EQ(Read(second_), "two\n");
}

TEST_F(SoapDebuggerTest, RecordsEachRequestAndAnswerWithoutCredentials) {
  LoopbackHttpServer server(AnswerWith(200, "text/xml", SoapEnvelope("<ns:r>done</ns:r>")));
  ASSERT_TRUE(SOAPDebugger::SetFile(first_.c_str()));
  for (int level : {SOAPDebugger::kTraffic - 1, SOAPDebugger::kTraffic}) {
    SOAPDebugger::SetMessageLevel(level);
    SOAPMethod method("ping", kSampleNamespace, "urn:ping", false);
    method.AddParameter("level").SetString(std::to_string(level).c_str());
    NewProxy("http://alice:pa55w0rd@" + server.Url("/svc").substr(7))->Execute(method);
  }
  std::string log = Read(first_);
  EXPECT_THAT(log, Not(HasSubstr("<level>9</level>"))) << "below the traffic level";
  EXPECT_THAT(log, HasSubstr("POST " + server.Url("/svc") + " (SOAPAction \"urn:ping\")\n"));
  EXPECT_THAT(log, HasSubstr("<level>10</level>"));
  EXPECT_THAT(log, HasSubstr("HTTP 200 text/xml\n"));
  EXPECT_THAT(log, HasSubstr("<ns:r>done</ns:r>"));
  for (const char* secret : {"pa55w0rd", "alice", "Authorization"}) {
    EXPECT_THAT(log, Not(HasSubstr(secret)));
  }
}

}  // namespace
}  // namespace tssoap::test
