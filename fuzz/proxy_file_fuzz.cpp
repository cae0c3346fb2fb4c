// libFuzzer target for the command-line tool's proxy-file reader: the input is the content of a
// proxy file, and also a method description whose shape the reader checks. Reading must end with a
// ProxyFile or ProxyFileError naming the file; no other exception (a JSON library's among them)
// may leave the reader.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/tssoap/proxy_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    tssoap::cli::ProxyFile file = tssoap::cli::ProxyFile::Parse(text, "fuzz.json");
    for (const tssoap::cli::ProxyFunction& function : file.functions) {
      if (file.FindFunction(function.name) == nullptr) std::abort();
    }
  } catch (const tssoap::cli::ProxyFileError& error) {
    if (std::string_view(error.what()).substr(0, 10) != "fuzz.json:") std::abort();
  }
  std::string problem;
  if (!tssoap::cli::ReadDescriptionShape(text, &problem) && problem.empty()) std::abort();
  return 0;
}
