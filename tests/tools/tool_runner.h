// RunTool: runs the built tssoap program as a subprocess, the way a user or a script runs it, and
// collects its stdout, its stderr and its exit status. The run is bounded: a program that doesn't
// end within the time-out is killed and the result says so.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace tssoap::test {

struct ToolResult {
  int status = -1;  // the exit status; -1 when it didn't exit normally
  bool timedOut = false;
  std::string out;
  std::string err;
  // For failure messages.
  std::string Describe() const;
};

// Runs TSSOAP_BINARY_DIR/tools/tssoap/tssoap with arguments; environment entries in extraEnv
// ("NAME=value") are added to (or replace those of) the test's own environment.
ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& extraEnv = {},
                   std::chrono::seconds timeout = std::chrono::seconds(60));

// A file in a fresh temporary directory that goes away with the object.
class TemporaryFile {
 public:
  TemporaryFile(const std::string& name, const std::string& content);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string directory_;
  std::string path_;
};

}  // namespace tssoap::test
