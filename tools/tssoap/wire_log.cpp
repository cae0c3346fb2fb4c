#include "tools/tssoap/wire_log.h"

#include <unistd.h>

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

WireLog::~WireLog() {
  Stop();
  unlink(path_.c_str());
}

void WireLog::Stop() {
  if (!logging_) return;
  logging_ = false;
  runtime_.SetOptions(connection_, "soaplog=''");
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
