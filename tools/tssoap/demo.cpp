#include "tools/tssoap/demo.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <vector>

#include "tools/tssoap/message_text.h"
#include "tools/tssoap/proxy_file.h"
#include "tools/tssoap/proxy_session.h"
#include "tools/tssoap/service_process.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

// No call of the demo may hang on a service that stopped answering.
constexpr const char* kDemoOptions = "timeout=10";

struct DemoStep {
  const char* function;
  std::vector<const char*> arguments;  // JSON texts, as on the command line
  bool expectException = false;
};

// A short tour: simple values of several kinds, arrays, structures, a function with out values,
// and a fault.
const std::vector<DemoStep>& Steps() {
  static const std::vector<DemoStep> steps = {
      {"echostring", {R"("Hello from tssoap")"}},
      {"echoint", {"2147483647"}},
      {"echoboolean", {"true"}},
      {"echodouble", {"2.718281828459045"}},
      {"echodecimal", {R"("1234567.89")"}},
      {"echodatetime", {R"("2003-07-14T13:05:09.5")"}},
      {"echobase64", {R"({"base64": "dHNzb2Fw"})"}},
      {"echostringarray", {R"(["alpha", "beta", "gamma"])"}},
      {"exchangestrings", {R"("ping")", "null", R"("pong")"}},
      {"echostruct", {R"({"text": "pi", "number": 3})"}},
      {"echoaddress", {R"({"street": "1 Main Street", "zip": 12345, "tags": ["home", "office"],
            "phone": {"number": "555-0100", "kind": 1}})"}},
      {"echophonearray",
       {R"([{"number": "555-0101", "kind": 1}, {"number": "555-0102", "kind": 2}])"}},
      {"failwithdetail", {R"("the demo asks for a fault")"}, true},
  };
  return steps;
}

std::string Indented(const std::string& text, const char* prefix) {
  std::string indented;
  ForEachLine(text, [&](std::string_view line) { indented.append(prefix).append(line) += '\n'; });
  return indented;
}

// Prints one call and answers whether it went as the step expects.
bool RunStep(ProxySession& session, const DemoStep& step, bool wire, std::ostream& out) {
  const ProxyFunction* function = session.Proxy().FindFunction(step.function);
  if (function == nullptr) {
    throw std::runtime_error(session.Proxy().path + " has no function " + step.function +
                             ", which the demo calls");
  }
  std::vector<Json> arguments;
  std::string shown;
  for (size_t i = 0; i < step.arguments.size(); ++i) {
    arguments.push_back(ParseJsonText(step.arguments[i], ArgumentName(*function, i)));
    shown += (i > 0 ? ", " : "") + DumpJson(arguments.back());
  }
  out << "> " << function->name << "(" << shown << ")\n";
  testhost::CallOutcome outcome = session.Call(*function, session.Arguments(*function, arguments));
  Json report = session.Report(*function, outcome);
  if (report.contains("exception")) {
    const Json& exception = report["exception"];
    out << "  soapexception" << (step.expectException ? "" : " (NOT EXPECTED)") << "\n";
    for (const char* field : {"text", "faultcode", "faultstring", "detailmessage"}) {
      out << "    " << field << std::string(15 - std::char_traits<char>::length(field), ' ')
          << DumpJson(exception[field]) << "\n";
    }
  } else {
    if (step.expectException) out << "  (a soapexception was expected)\n";
    if (report.contains("return")) out << "  return " << DumpJson(report["return"]) << "\n";
    for (const auto& [name, value] : report["out"].items()) {
      out << "  out    " << name << " = " << DumpJson(value) << "\n";
    }
    if (!report.contains("return") && report["out"].empty()) out << "  done\n";
  }
  if (wire) out << Indented(session.Wire(), "    | ");
  out << "\n";
  return report.contains("exception") == step.expectException;
}

}  // namespace

int RunDemo(const ToolPaths& paths, bool wire, std::ostream& out) {
  if (paths.sampleService.empty()) {
    throw std::runtime_error("this build has no sample service; set TSSOAP_SAMPLE_SERVICE");
  }
  ProxyFile proxy = ProxyFile::Load(paths.sampleProxy);
  ServiceProcess service(paths.sampleService);
  std::string endpoint = "http://127.0.0.1:" + std::to_string(service.Port()) + "/sample";
  out << "tssoap demo: the sample service listens on 127.0.0.1:" << service.Port() << ".\n"
      << "Proxy class " << proxy.className << " from " << proxy.path << ", endpoint " << endpoint
      << ";\neach call goes through soapconnection, createinstance and the proxy's function.\n\n";

  SessionOptions options;
  options.extensionPath = paths.extension;
  options.endpoint = endpoint;
  options.options = kDemoOptions;
  options.wire = wire;
  size_t asExpected = 0;
  bool rulesKept = true;
  {
    ProxySession session(std::move(proxy), options);
    for (const DemoStep& step : Steps()) asExpected += RunStep(session, step, wire, out) ? 1 : 0;
    // A host rule the extension broke would go unnoticed in a transcript that looks right.
    for (const std::string& misuse : session.Runtime().Misuses()) {
      out << "The extension broke a rule of the host: " << misuse << "\n";
    }
    rulesKept = session.Runtime().Misuses().empty();
  }
  service.Stop();
  size_t calls = Steps().size();
  out << "The sample service has stopped. ";
  if (asExpected == calls && rulesKept) {
    out << calls << " calls, each as expected.\n";
    return kExitSuccess;
  }
  if (asExpected != calls) {
    out << calls - asExpected << " of " << calls << " calls did NOT go as expected.\n";
  } else {
    out << calls << " calls as expected, but the extension broke rules of the host.\n";
  }
  return kExitException;
}

}  // namespace tssoap::cli
