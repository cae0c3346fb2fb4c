#include "tool_runner.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace tssoap::test {
namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string MakeTemporaryDirectory() {
  const char* tmpdir = std::getenv("TMPDIR");
  std::string pattern =
      std::string(tmpdir != nullptr && *tmpdir ? tmpdir : "/tmp") + "/tssoap-tool-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return {};
  return pattern;
}

}  // namespace

std::string ToolResult::Describe() const {
  return "status " + std::to_string(status) + (timedOut ? " (timed out)" : "") + "\nstdout:\n" +
         out + "\nstderr:\n" + err;
}

ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& extraEnv, std::chrono::seconds timeout) {
  ToolResult result;
  std::string directory = MakeTemporaryDirectory();
  if (directory.empty()) {
    result.err = "can't make a temporary directory";
    return result;
  }
  std::string outPath = directory + "/stdout";
  std::string errPath = directory + "/stderr";

  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::string text = *entry;
    bool replaced = false;
    for (const std::string& extra : extraEnv) {
      replaced =
          replaced || text.substr(0, text.find('=') + 1) == extra.substr(0, extra.find('=') + 1);
    }
    if (!replaced) environment.push_back(text);
  }
  environment.insert(environment.end(), extraEnv.begin(), extraEnv.end());
  std::vector<char*> envp;
  for (std::string& entry : environment) envp.push_back(entry.data());
  envp.push_back(nullptr);

  std::string program = TSSOAP_BINARY_DIR "/tools/tssoap/tssoap";
  std::vector<std::string> argvText{program};
  argvText.insert(argvText.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& argument : argvText) argv.push_back(argument.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = -1;
  int failed = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) {
    result.err = "can't start " + program + ": " + std::strerror(failed);
  } else {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    int status = 0;
    for (;;) {
      pid_t done = waitpid(pid, &status, WNOHANG);
      if (done == pid) break;
      if (done < 0 && errno != EINTR) break;
      if (std::chrono::steady_clock::now() >= deadline) {
        result.timedOut = true;
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (!result.timedOut && WIFEXITED(status)) result.status = WEXITSTATUS(status);
    result.out = ReadAll(outPath);
    result.err = ReadAll(errPath);
  }
  std::remove(outPath.c_str());
  std::remove(errPath.c_str());
  rmdir(directory.c_str());
  return result;
}

TemporaryFile::TemporaryFile(const std::string& name, const std::string& content)
    : directory_(MakeTemporaryDirectory()), path_(directory_ + "/" + name) {
  std::ofstream(path_, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile() {
  std::remove(path_.c_str());
  rmdir(directory_.c_str());
}

}  // namespace tssoap::test
