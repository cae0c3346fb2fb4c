#include "tools/process/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace tssoap::process {

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
  int input[2] = {-1, -1};
  int output[2] = {-1, -1};
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
    error_ = std::string("pipe: ") + std::strerror(errno);
    for (int fd : {input[0], input[1]}) {
      if (fd >= 0) close(fd);
    }
    return;
  }
  // Nothing must die of a write to the stdin pipe of a program that has gone already.
  signal(SIGPIPE, SIG_IGN);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  int failed = posix_spawnp(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  if (failed != 0) {
    error_ = "can't start " + program + ": " + std::strerror(failed);
    pid_ = -1;
    close(input[1]);
    close(output[0]);
    return;
  }
  stdinWrite_ = input[1];
  reader_ = std::thread(&ChildProcess::ReadOutput, this, output[0]);
}

ChildProcess::~ChildProcess() { Stop(); }

void ChildProcess::Stop() {
  if (stdinWrite_ >= 0) {
    close(stdinWrite_);
    stdinWrite_ = -1;
  }
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (waitpid(pid_, nullptr, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      } else {
        kill(pid_, SIGKILL);  // a program that ignores SIGTERM goes at once after this
        waitpid(pid_, nullptr, 0);
      }
    }
    pid_ = -1;
  }
  if (reader_.joinable()) reader_.join();
}

bool ChildProcess::Running() const {
  std::lock_guard<std::mutex> guard(lock_);
  return pid_ > 0 && !outputEnded_;
}

void ChildProcess::ReadOutput(int fd) {
  FILE* output = fdopen(fd, "r");
  char* line = nullptr;
  size_t capacity = 0;
  ssize_t length;
  while (output != nullptr && (length = getline(&line, &capacity, output)) >= 0) {
    while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) --length;
    std::lock_guard<std::mutex> guard(lock_);
    lines_.emplace_back(line, static_cast<size_t>(length));
    changed_.notify_all();
  }
  std::free(line);
  output != nullptr ? fclose(output) : close(fd);
  std::lock_guard<std::mutex> guard(lock_);
  outputEnded_ = true;
  changed_.notify_all();
}

size_t ChildProcess::CountLinesLocked(std::string_view prefix) const {
  return std::count_if(lines_.begin(), lines_.end(),
                       [&](const std::string& line) { return line.starts_with(prefix); });
}

size_t ChildProcess::CountLines(std::string_view prefix) const {
  std::lock_guard<std::mutex> guard(lock_);
  return CountLinesLocked(prefix);
}

bool ChildProcess::WaitForLines(std::string_view prefix, size_t count,
                                std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> guard(lock_);
  changed_.wait_for(guard, timeout,
                    [&] { return outputEnded_ || CountLinesLocked(prefix) >= count; });
  return CountLinesLocked(prefix) >= count;
}

std::string ChildProcess::WaitForLine(std::string_view prefix,
                                      std::chrono::milliseconds timeout) const {
  if (!WaitForLines(prefix, 1, timeout)) return {};
  std::lock_guard<std::mutex> guard(lock_);
  return *std::find_if(lines_.begin(), lines_.end(),
                       [&](const std::string& line) { return line.starts_with(prefix); });
}

ServerProcess::ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                             std::chrono::milliseconds startWait)
    : process_(program, arguments) {
  if (!process_.Error().empty()) return;
  std::string line = process_.WaitForLine("PORT ", startWait);
  if (!line.empty()) port_ = std::atoi(line.c_str() + 5);
}

std::string ServerProcess::Error() const {
  if (!process_.Error().empty()) return process_.Error();
  if (port_ <= 0) return "the server printed no \"PORT <n>\" line in time";
  return {};
}

}  // namespace tssoap::process
