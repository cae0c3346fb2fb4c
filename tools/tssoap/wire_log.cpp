#include "tools/tssoap/wire_log.h"

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "tools/tssoap/message_text.h"

namespace tssoap::cli {
namespace {

// Lines the extension writes to the same log once per call; they say nothing about the wire.
bool IsCallLine(std::string_view line) {
  return line == "Connection Disconnected" || line == "Connection Cached";
}

std::string TemporaryDirectory() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string directory = tmpdir != nullptr && *tmpdir != '\0' ? tmpdir : "/tmp";
  // The option string has no escapes: a path with a quote in it can't be named.
  if (directory.find_first_of("'\"") != std::string::npos) directory = "/tmp";
  return directory;
}

}  // namespace

WireLog::WireLog(testhost::Runtime& runtime, HostObject connection)
    : runtime_(runtime), connection_(connection) {
  std::string pattern = TemporaryDirectory() + "/tssoap-wire-XXXXXX";
  int fd = mkstemp(pattern.data());
  if (fd < 0) throw std::runtime_error("can't make a temporary file for --wire in " + pattern);
  close(fd);
  path_ = pattern;
  std::optional<int32_t> result =
      runtime_.SetOptions(connection_, ("soaplog='" + path_ + "'").c_str());
  if (!result || *result != 0) {
    unlink(path_.c_str());
    throw std::runtime_error("setoptions refused to open the log for --wire");
  }
  logging_ = true;
}

WireLog::WireLog(testhost::Runtime& runtime, HostObject connection, std::string path)
    : runtime_(runtime), connection_(connection), path_(std::move(path)), ownFile_(false) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "rb"),
                                                       std::fclose);
  if (file && std::fseek(file.get(), 0, SEEK_END) == 0) offset_ = std::ftell(file.get());
}

WireLog::~WireLog() {
  Stop();
  if (ownFile_) unlink(path_.c_str());
}

void WireLog::Stop() {
  if (!logging_) return;
  logging_ = false;
  runtime_.SetOptions(connection_, "soaplog=''");
}

std::optional<std::string> SoapLogOf(std::string_view options) {
  // "key = value" pairs separated by ","; a value is quoted ('...' or "...", no escapes), a
  // number or a word.
  std::optional<std::string> log;
  size_t at = 0;
  auto skipBlanks = [&] {
    while (at < options.size() && std::isspace(static_cast<unsigned char>(options[at]))) ++at;
  };
  while (at < options.size()) {
    size_t equals = options.find('=', at);
    if (equals == std::string_view::npos) break;
    std::string key;
    for (char c : options.substr(at, equals - at)) {
      if (!std::isspace(static_cast<unsigned char>(c))) {
        key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      }
    }
    at = equals + 1;
    skipBlanks();
    std::string value;
    if (at < options.size() && (options[at] == '\'' || options[at] == '"')) {
      size_t close = options.find(options[at], at + 1);
      if (close == std::string_view::npos) break;
      value = options.substr(at + 1, close - at - 1);
      at = close + 1;
    }
    size_t comma = options.find(',', at);
    at = comma == std::string_view::npos ? options.size() : comma + 1;
    if (key == "soaplog") log = value;
  }
  return log;
}

std::string WireLog::Take() {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path_.c_str(), "rb"),
                                                       std::fclose);
  if (!file || std::fseek(file.get(), offset_, SEEK_SET) != 0) return {};
  std::string text;
  char buffer[65536];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) text.append(buffer, got);
  offset_ += static_cast<long>(text.size());
  std::string traffic;
  traffic.reserve(text.size());
  ForEachLine(text, [&](std::string_view line) {
    if (!IsCallLine(line)) traffic.append(line) += '\n';
  });
  return traffic;
}

}  // namespace tssoap::cli
