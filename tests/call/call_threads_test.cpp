// Proxy calls from several script threads at once, as scripts on the runtime's threads make them:
// the extension is loaded once (dlopen) for the process, and each thread has its own session of
// the reference host, its own soapconnection and proxy object, and calls the sample service. Every
// answer is checked, with the connection cache on and off, and with the host's code page Latin-1 so
// that the code-page conversions (which select the process locale) run in every call.
//
// TSSOAP_THREAD_CALLS sets the calls per thread (the ThreadSanitizer preset asks for fewer).
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "common/environment_locale.h"
#include "common/server_process.h"
#include "testhost/testhost.h"

namespace tssoap::test {
namespace {

using testhost::CallOutcome;
using testhost::Runtime;
using testhost::Value;

constexpr int kThreads = 8;

const std::string kEchoString =
    SampleOperation("echoString([in] xsd:string input) return xsd:string result");
const std::string kEchoInt = SampleOperation("echoInt([in] xsd:int input) return xsd:int result");
const std::string kExchangeStrings = SampleOperation(
    "exchangeStrings([in] xsd:string input, [out] xsd:string output, "
    "[in,out] xsd:string both) return xsd:string result");
const std::string kEchoStringArray = SampleOperation(
    "echoStringArray([in] xsd:string[SoapElementName] input) "
    "return xsd:string[SoapElementName] result");
const std::string kFailWithDetail =
    SampleOperation("failWithDetail([in] xsd:string reason) return xsd:string result");

int CallsPerThread() {
  const char* calls = std::getenv("TSSOAP_THREAD_CALLS");
  return calls != nullptr ? std::atoi(calls) : 1000;
}

// One script: its own host session, connection and proxy; `calls` calls that go round five
// operations. Returns the calls whose answer was wrong, described, or why the proxy wasn't made.
std::vector<std::string> RunScript(const testhost::ExtensionEntryPoints& extension, int thread,
                                   int calls, const std::string& options, const std::string& url) {
  std::vector<std::string> wrong;
  Runtime host(extension);
  host.DefineProxyClass(
      "sampleproxy",
      {{"endpoint", url}, {"xsd", "http://www.w3.org/2001/XMLSchema"}, {"BindingStyle", "rpc"}});
  const HostObject connection = host.CreateConnection();
  const Runtime::CreateResult created = host.SetOptions(connection, options.c_str()) == 0
                                            ? host.CreateInstance(connection, "SampleProxy")
                                            : Runtime::CreateResult{};
  if (created.result != 0) return {"no proxy object with " + options};
  const HostObject proxy = created.proxy;
  for (int call = 0; call < calls; ++call) {
    // Latin-1 in the host's code page, unique to this call.
    const std::string text = std::string("t").append(std::to_string(thread)) + " c" +
                             std::to_string(call) + " d\xE9j\xE0 vu";
    CallOutcome outcome;
    bool right = false;
    switch (call % 5) {
      case 0:
        outcome = host.Call(proxy, kEchoString, {Value::String(text)}, Value::String(""));
        right = outcome.result == Value::String(text);
        break;
      case 1: {
        const int32_t number = thread * 1000000 + call;
        outcome = host.Call(proxy, kEchoInt, {Value::Long(number)}, Value::Long(0));
        right = outcome.result == Value::Long(number);
        break;
      }
      case 2:
        outcome = host.Call(proxy, kExchangeStrings,
                            {Value::String(text), Value::String(""), Value::String(text + "+")},
                            Value::String(""));
        right = outcome.result == Value::String(text + "/result") &&
                outcome.arguments.size() == 3 &&
                outcome.arguments[1] == Value::String(text + "/out") &&
                outcome.arguments[2] == Value::String(text + "+/inout");
        break;
      case 3: {
        const Value items =
            Value::Array(kHostString, {Value::String(text), Value::String(std::to_string(call))});
        outcome = host.Call(proxy, kEchoStringArray, {items}, Value::Any());
        right = outcome.result == items;
        break;
      }
      case 4:
        outcome = host.Call(proxy, kFailWithDetail, {Value::String(text)}, Value::String(""));
        right = outcome.exception.has_value() && outcome.exception->faultString == text &&
                outcome.exception->detailMessage.find(text) != std::string::npos;
        break;
    }
    if (call % 5 != 4 && outcome.exception.has_value()) right = false;
    if (!right && wrong.size() < 5) {
      wrong.push_back(
          "thread " + std::to_string(thread) + ", call " + std::to_string(call) + ": " +
          (outcome.exception ? outcome.exception->text : testhost::Describe(outcome.result)));
    }
  }
  if (!host.Misuses().empty()) wrong.push_back("host misuse: " + host.Misuses().front());
  return wrong;
}

TEST(CallThreads, EveryThreadGetsItsOwnAnswersWithAndWithoutTheConnectionCache) {
  ASSERT_TRUE(SharedSampleService().Started()) << SharedSampleService().Error();
  EnvironmentLocale latin1("en_US.ISO-8859-1");
  ASSERT_TRUE(latin1.available) << "the locale en_US.ISO-8859-1 is missing";
  const testhost::ExtensionLibrary extension(testhost::DefaultExtensionPath());
  const int calls = CallsPerThread();
  for (const char* options : {"connectioncache=true", "connectioncache=false"}) {
    SCOPED_TRACE(options);
    std::vector<std::vector<std::string>> wrong(kThreads);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        wrong[thread] = RunScript(extension.EntryPoints(), thread, calls, options,
                                  SharedSampleService().Url("/"));
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::vector<std::string>& lines : wrong) {
      for (const std::string& line : lines) ADD_FAILURE() << line;
    }
  }
}

}  // namespace
}  // namespace tssoap::test
