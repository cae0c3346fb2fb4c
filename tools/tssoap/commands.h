// The tool's commands: call, describe, demo and --help, behind one entry that takes the command
// line and answers the exit status: 0 success, 1 the call raised a soapexception (or a demo call
// didn't go as expected), 2 wrong usage, an unreadable or inconsistent proxy file, an argument
// that doesn't fit its type, or a host that couldn't be set up. Results go to out; messages,
// --wire traffic and --repeat timings to err, a problem always as one line "tssoap: ...".
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tssoap::cli {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitException = 1;
inline constexpr int kExitUsage = 2;

// The command line's mistakes, reported with exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Where the tool finds what it runs: beside the installed tool, or else where the build put it;
// TSSOAP_EXTENSION and TSSOAP_SAMPLE_SERVICE in the environment override.
struct ToolPaths {
  std::string extension;
  std::string sampleService;
  std::string sampleProxy;  // examples/sample.json in the sources
  static ToolPaths FromBuildAndEnvironment();
};

struct CommandLine {
  std::string command;                  // "call", "describe", "demo", "help" or "version"
  std::vector<std::string> positional;  // call: PROXYFILE FUNCTION ARG...; describe: PROXYFILE
  std::optional<std::string> endpoint;
  std::optional<std::string> port;
  std::optional<std::string> options;
  std::optional<std::string> proxyOptions;
  std::optional<std::string> caCertificates;  // --cacert FILE
  int64_t repeat = 1;
  bool wire = false;

  // Reads the arguments after the program name; throws UsageError.
  static CommandLine Parse(const std::vector<std::string>& arguments);
};

// The whole tool: parses, runs, reports; never throws.
int RunCommandLine(const std::vector<std::string>& arguments, const ToolPaths& paths,
                   std::ostream& out, std::ostream& err);

// What --help prints.
const char* HelpText();

}  // namespace tssoap::cli
