// libFuzzer target for the two option strings of a soapconnection: the input is the argument of
// setoptions and of setproxyserveroptions. Each must answer valid or invalid, with the scanners'
// cursor never leaving the text; a proxy server's scheme is one of the three the address rule
// knows, or none.
//
// The fuzzer never opens a log file: an input that names soaplog anywhere is only checked, not
// applied, since its quoted text would be a path on this machine.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "connection/option_strings.h"

namespace {

// Scans the whole text as ApplyOptions does, pair by pair, checking the cursor; true when a key
// is soaplog.
bool ScanAll(std::string_view options) {
  const char* cursor = options.data();
  const char* end = options.data() + options.size();
  std::string key;
  std::string value;
  bool namesLog = false;
  for (;;) {
    tssoap::OptionKeyResult keyResult = tssoap::ScanOptionKey(cursor, end, key);
    if (cursor < options.data() || cursor > end) std::abort();
    if (keyResult != tssoap::kKeyRead) return namesLog;
    namesLog = namesLog || key == "soaplog";
    tssoap::OptionValueKind kind = tssoap::ScanOptionValue(cursor, end, value);
    if (cursor < options.data() || cursor > end) std::abort();
    if (kind == tssoap::kValueSyntaxError) return namesLog;
  }
}

void CheckResult(int32_t result, const tssoap::ConnectionSettings& settings) {
  if (result != tssoap::kOptionsValid && result != tssoap::kOptionsInvalid) std::abort();
  const std::string& scheme = settings.proxyScheme;
  if (!scheme.empty() && scheme != "http" && scheme != "https" && scheme != "ftp") std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view options(reinterpret_cast<const char*>(data), size);
  tssoap::ConnectionSettings settings;
  if (ScanAll(options)) {
    tssoap::CheckOptions(options, false);
  } else {
    CheckResult(tssoap::ApplyOptions(options, settings), settings);
  }
  CheckResult(tssoap::ApplyProxyServerOptions(options, settings), settings);
  tssoap::SetProxyServerAddress(options, settings);
  CheckResult(tssoap::kOptionsValid, settings);
  return 0;
}
