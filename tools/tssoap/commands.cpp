#include "tools/tssoap/commands.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/tssoap/demo.h"
#include "tools/tssoap/file_text.h"
#include "tools/tssoap/json_values.h"
#include "tools/tssoap/message_text.h"
#include "tools/tssoap/proxy_file.h"
#include "tools/tssoap/proxy_session.h"
#include "tools/tssoap/wsdl_proxy_writer.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

// Host misuses are bugs of the extension, worth seeing, but a handful tells the story.
constexpr size_t kMisusesShown = 10;
constexpr size_t kArgumentFileBytes = size_t{256} << 20;

const char kHelp[] =
    R"(tssoap: calls a SOAP service through the tssoapclient90 extension, loaded into the
reference host the way the runtime loads it. A proxy file (JSON) defines the proxy class, and
each call goes through soapconnection, createinstance and the proxy's function, as a script's
call would.

Usage:
  tssoap call PROXYFILE FUNCTION [ARG ...] [OPTIONS]
  tssoap describe PROXYFILE
  tssoap demo [--wire]
  tssoap generate WSDL [--service NAME] [--port NAME] [-o FILE]
  tssoap --help
  tssoap --version

call: calls FUNCTION of the proxy class of PROXYFILE with one ARG per parameter, in order, each
a JSON text (quote it for the shell: '"hello"'), or @FILE for the JSON text in FILE. Options,
before or after the arguments:
  --endpoint URL        the service's address, in place of the proxy's endpoint variable
  --port URL            createinstance with three arguments: the port name URL is the address
  --options TEXT        setoptions TEXT, such as "timeout=30, userid='me', password='secret'"
  --proxy-options TEXT  setproxyserveroptions TEXT, such as "address='http://gate:3128'"
  --cacert FILE         trust the CA certificates of FILE (PEM) instead of the system's, for
                        https services and proxy servers; sets CURL_CA_BUNDLE for the call
  --repeat N            N calls on the one proxy object; calls per second on stderr; the output
                        is that of the last call, or of the first that raised an exception
  --wire                the request and the response of the (first) call on stderr
  --                    what follows are arguments, even when they begin with --

describe: lists the proxy class's variables, its structures and its functions with their host
signatures and method descriptions.

demo: starts the bundled sample service on 127.0.0.1 on an ephemeral port, prints a transcript
of calls through the extension, and stops the service. --wire adds each request and response.

generate: reads a WSDL 1.1 document (a file or an http(s) address) with its schemas and writes
a proxy file for one SOAP 1.1 port of it (the first, or --service and --port) to FILE or stdout.
What the extension can't carry is left out with a warning on stderr that names its place.

Arguments and results, JSON by host type:
  int uint long ulong   numbers: 5, -12
  longlong              a number, or a string of digits: "-9007199254740993"
  real double           numbers: 2.5, 1e-3; also "NaN", "INF", "-INF"
  decimal               a string: "123.45"
  string                a JSON string: "hello"
  boolean               true, false
  blob                  {"base64": "AAEC"}
  date time datetime    "2003-07-14", "13:05:09.5", "2003-07-14T13:05:09"
  any                   null
  structure             an object keyed by its fields: {"key": "a", "value": 1}; fields left out
                        keep their defaults
  T[]  T[N]             JSON arrays; a bounded T[N] takes exactly N items
  null                  the null value of any type; an out-only parameter takes null

Output of call, one JSON line on stdout:
  {"return": VALUE, "out": {"NAME": VALUE, ...}}
      "out" holds the ref arguments after the call; no "return" for a function without result
  {"exception": {"text": ..., "faultcode": ..., "faultstring": ..., "detailmessage": ...}}
      the soapexception's text and its getFaultCode, getFaultString and getDetailMessage

Exit status:
  0  the call succeeded (demo: every call went as expected)
  1  the call raised a soapexception (demo: a call didn't go as expected)
  2  wrong usage, an unreadable or inconsistent proxy file, an argument that doesn't fit its
     type, or an extension that can't be loaded or set up; one line on stderr says what

Proxy file: a JSON object with
  "class"       the proxy class name (lower case)
  "variables"   the proxy class's string variables, name to text or null: endpoint,
                BindingStyle, the namespace prefixes, the "__" descriptions of structures
  "structures"  structure class name to {"field": "host type", ...}
  "functions"   [{"name", "parameters": [{"name", "type", "ref"}], "returns", "description"}]
                "ref": true for a reference argument; no "returns" for a function without
                result; "description" is the method description the extension reads
examples/sample.json is a model. Host types: int, long, real, double, decimal, string, boolean,
any, uint, ulong, blob, date, time, datetime, longlong, a structure class, T[] and T[N].

Environment:
  CURL_CA_BUNDLE, SSL_CERT_FILE, SSL_CERT_DIR
                         CA certificates to trust for https (a file, the same, a directory)
  TSSOAP_EXTENSION       the extension library to load (default: the one installed with the
                         tool, found from the tool's own directory, or else the one of this build)
  TSSOAP_SAMPLE_SERVICE  the sample service program for the demo (default: likewise)
)";

std::string Signature(const ProxyFunction& function) {
  std::string text =
      function.returns ? "function " + function.returns->Name() + " " : std::string("subroutine ");
  text += function.name + "(";
  for (size_t i = 0; i < function.parameters.size(); ++i) {
    const FunctionParameter& parameter = function.parameters[i];
    if (i > 0) text += ", ";
    if (parameter.byReference) text += "ref ";
    text += parameter.type.Name() + " " + parameter.name;
  }
  return text + ")";
}

std::string OneLine(std::string text) {
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text;
}

int64_t ReadRepeat(const std::string& text) {
  int64_t count = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || end != text.data() + text.size() || count < 1 || count > 1000000000) {
    throw UsageError("--repeat takes a number of calls from 1 to 1000000000, not \"" + text + "\"");
  }
  return count;
}

// The library takes the CA certificates to trust from the environment, the way curl does; the
// variable holds for this process only. A file that can't be read is named at once, rather than
// as a TLS failure of the call.
void TrustCaCertificates(const std::string& file) {
  if (!std::ifstream(file).good()) {
    throw SetupError("--cacert: can't read " + file + ": " + std::strerror(errno));
  }
  setenv("CURL_CA_BUNDLE", file.c_str(), 1);
}

void CheckOptionsAllowed(const CommandLine& line) {
  bool callOptions = line.endpoint || line.port || line.options || line.proxyOptions ||
                     line.caCertificates || line.repeat != 1;
  if (line.command != "call" && callOptions) {
    throw UsageError(
        "--endpoint, --port, --options, --proxy-options, --cacert and --repeat belong to "
        "tssoap call");
  }
  if (line.command == "describe" && line.wire) throw UsageError("--wire belongs to call and demo");
}

int Describe(const CommandLine& line, std::ostream& out) {
  if (line.positional.size() != 1) throw UsageError("describe takes one PROXYFILE");
  ProxyFile proxy = ProxyFile::Load(line.positional[0]);
  out << "proxy class " << proxy.className << " (" << proxy.path << ")\n";
  if (!proxy.variables.empty()) out << "\nvariables:\n";
  for (const ProxyVariable& variable : proxy.variables) {
    out << "  " << variable.name << " = "
        << (variable.value ? DumpJson(Json(*variable.value)) : std::string("null")) << "\n";
  }
  if (!proxy.structures.empty()) out << "\nstructures:\n";
  for (const Structure& structure : proxy.structures) {
    out << "  " << structure.name << " (";
    for (size_t i = 0; i < structure.fields.size(); ++i) {
      out << (i > 0 ? ", " : "") << structure.fields[i].type.Name() << " "
          << structure.fields[i].name;
    }
    out << ")\n";
  }
  out << "\nfunctions:\n";
  if (proxy.functions.empty()) out << "  (none)\n";
  for (const ProxyFunction& function : proxy.functions) {
    out << "  " << Signature(function) << "\n      " << function.description << "\n";
  }
  return kExitSuccess;
}

int Call(const CommandLine& line, const ToolPaths& paths, std::ostream& out, std::ostream& err) {
  if (line.positional.size() < 2) throw UsageError("call takes PROXYFILE FUNCTION [ARG ...]");
  ProxyFile proxy = ProxyFile::Load(line.positional[0]);
  const ProxyFunction* found = proxy.FindFunction(line.positional[1]);
  if (found == nullptr) {
    std::string names =
        JoinedNames(proxy.functions, [](const ProxyFunction& function) { return function.name; });
    throw UsageError(proxy.path + " has no function " + line.positional[1] +
                     " (its functions: " + (names.empty() ? std::string("none") : names) + ")");
  }
  size_t functionIndex = static_cast<size_t>(found - proxy.functions.data());
  size_t given = line.positional.size() - 2;
  if (given != found->parameters.size()) {
    throw UsageError(found->name + " takes " + std::to_string(found->parameters.size()) +
                     " argument" + (found->parameters.size() == 1 ? "" : "s") + ", " +
                     std::to_string(given) + " given: " + Signature(*found));
  }
  std::vector<Json> arguments;
  for (size_t i = 0; i < given; ++i) {
    // "@FILE" for a text too long for a command line (no JSON text begins with "@").
    const std::string& argument = line.positional[i + 2];
    arguments.push_back(ParseJsonText(
        argument.starts_with('@')
            ? ReadCappedFile<ArgumentError>(argument.substr(1), kArgumentFileBytes, "argument file")
            : argument,
        ArgumentName(*found, i)));
  }
  const ProxyVariable* endpoint = proxy.FindVariable("endpoint");
  if (!line.endpoint && !line.port && (endpoint == nullptr || !endpoint->value)) {
    throw UsageError("the proxy class " + proxy.className +
                     " has no endpoint: give one with --endpoint URL");
  }

  if (line.caCertificates) TrustCaCertificates(*line.caCertificates);

  SessionOptions options;
  options.extensionPath = paths.extension;
  options.endpoint = line.endpoint;
  options.port = line.port;
  options.options = line.options;
  options.proxyOptions = line.proxyOptions;
  options.wire = line.wire;
  ProxySession session(std::move(proxy), options);
  const ProxyFunction& function = session.Proxy().functions[functionIndex];
  std::vector<testhost::Value> values = session.Arguments(function, arguments);

  testhost::CallOutcome outcome;
  int64_t calls = 0;
  // The outcome of a call is read from what the call made; before the next call the host frees
  // it, as a script that keeps only the last result leaves the others to be collected.
  const uint32_t beforeCalls = session.Runtime().HandleMark();
  auto started = std::chrono::steady_clock::now();
  while (calls < line.repeat) {
    if (calls != 0) session.Runtime().Release(beforeCalls);
    outcome = session.Call(function, values);
    ++calls;
    if (calls == 1 && line.wire) {
      std::string traffic = session.Wire();
      if (traffic.empty()) {
        traffic = "tssoap: --wire: nothing was logged in " + session.WirePath() +
                  ": the call sent nothing, or the file can't be written\n";
      }
      err << traffic;
      session.StopWire();
    }
    if (outcome.exception) break;
  }
  if (line.repeat > 1) {
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    char text[160];
    std::snprintf(text, sizeof text, "tssoap: %lld call%s in %.3f s: %.0f calls per second\n",
                  static_cast<long long>(calls), calls == 1 ? "" : "s", seconds,
                  seconds > 0 ? static_cast<double>(calls) / seconds : 0.0);
    err << text;
  }
  const std::vector<std::string>& misuses = session.Runtime().Misuses();
  for (size_t i = 0; i < misuses.size() && i < kMisusesShown; ++i) {
    err << "tssoap: warning: the extension broke a rule of the host: " << OneLine(misuses[i])
        << "\n";
  }
  out << DumpJson(session.Report(function, outcome)) << "\n";
  return outcome.exception ? kExitException : kExitSuccess;
}

}  // namespace

ToolPaths ToolPaths::FromBuildAndEnvironment() {
  // Installed, each lies at its place relative to the tool's directory; in the build tree, where
  // the build put it.
  std::error_code error;
  std::filesystem::path directory =
      std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  auto located = [&](const char* installed, const char* built) {
    std::filesystem::path candidate = (directory / installed).lexically_normal();
    return !error && std::filesystem::exists(candidate, error) ? candidate.string()
                                                               : std::string(built);
  };
  ToolPaths paths{located(TSSOAP_CLI_INSTALLED_EXTENSION, TSSOAP_CLI_EXTENSION_PATH),
                  located(TSSOAP_CLI_INSTALLED_SAMPLE_SERVICE, TSSOAP_CLI_SAMPLE_SERVICE_PATH),
                  located(TSSOAP_CLI_INSTALLED_SAMPLE_PROXY, TSSOAP_CLI_SAMPLE_PROXY_PATH)};
  if (const char* extension = std::getenv("TSSOAP_EXTENSION"); extension && *extension) {
    paths.extension = extension;
  }
  if (const char* service = std::getenv("TSSOAP_SAMPLE_SERVICE"); service && *service) {
    paths.sampleService = service;
  }
  return paths;
}

CommandLine CommandLine::Parse(const std::vector<std::string>& arguments) {
  CommandLine line;
  if (arguments.empty()) throw UsageError("no command given");
  const std::string& command = arguments[0];
  if (command == "--help" || command == "-h" || command == "help") {
    line.command = "help";
    return line;
  }
  if (command == "--version") {
    line.command = "version";
    return line;
  }
  if (command != "call" && command != "describe" && command != "demo") {
    throw UsageError("unknown command \"" + command +
                     "\" (commands: call, describe, demo, generate)");
  }
  line.command = command;
  bool optionsEnded = false;
  for (size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    // JSON texts never begin with "--", so an argument like -5 stays an argument.
    if (optionsEnded || argument.rfind("--", 0) != 0) {
      line.positional.push_back(argument);
      continue;
    }
    if (argument == "--") {
      optionsEnded = true;
      continue;
    }
    std::string name = argument;
    std::optional<std::string> value;
    if (size_t equals = argument.find('='); equals != std::string::npos) {
      name = argument.substr(0, equals);
      value = argument.substr(equals + 1);
    }
    if (name == "--help") {
      line.command = "help";
      return line;
    }
    if (name == "--wire") {
      if (value) throw UsageError("--wire takes no value");
      line.wire = true;
      continue;
    }
    std::optional<std::string>* target = nullptr;
    if (name == "--endpoint") target = &line.endpoint;
    if (name == "--port") target = &line.port;
    if (name == "--options") target = &line.options;
    if (name == "--proxy-options") target = &line.proxyOptions;
    if (name == "--cacert") target = &line.caCertificates;
    if (target == nullptr && name != "--repeat") throw UsageError("unknown option " + name);
    if (!value) {
      if (i + 1 >= arguments.size()) throw UsageError(name + " needs a value");
      value = arguments[++i];
    }
    if (target != nullptr) {
      *target = *value;
    } else {
      line.repeat = ReadRepeat(*value);
    }
  }
  CheckOptionsAllowed(line);
  return line;
}

const char* HelpText() { return kHelp; }

int RunCommandLine(const std::vector<std::string>& arguments, const ToolPaths& paths,
                   std::ostream& out, std::ostream& err) {
  try {
    if (!arguments.empty() && arguments[0] == "generate") {
      return RunGenerate({arguments.begin() + 1, arguments.end()}, out, err);
    }
    CommandLine line = CommandLine::Parse(arguments);
    if (line.command == "help") {
      out << kHelp;
      return kExitSuccess;
    }
    if (line.command == "version") {
      out << "tssoap " TSSOAP_VERSION "\n";
      return kExitSuccess;
    }
    if (line.command == "describe") return Describe(line, out);
    if (line.command == "demo") {
      if (!line.positional.empty()) throw UsageError("demo takes no arguments");
      return RunDemo(paths, line.wire, out);
    }
    return Call(line, paths, out, err);
  } catch (const UsageError& error) {
    err << "tssoap: " << OneLine(error.what()) << " (tssoap --help explains the usage)\n";
  } catch (const std::exception& error) {
    // Proxy file, argument and set-up errors carry their whole story.
    err << "tssoap: " << OneLine(error.what()) << "\n";
  }
  return kExitUsage;
}

}  // namespace tssoap::cli
