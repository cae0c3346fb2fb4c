#include "common/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

extern char** environ;

namespace tssoap::test {

namespace {

constexpr auto kTermWait = std::chrono::seconds(5);

bool WaitForExit(pid_t pid, std::chrono::milliseconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    int status = 0;
    pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid || (done < 0 && errno == ECHILD)) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace

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
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  int failed = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
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
    if (!WaitForExit(pid_, kTermWait)) {
      kill(pid_, SIGKILL);
      WaitForExit(pid_, kTermWait);
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
  std::string pending;
  char buffer[4096];
  for (;;) {
    ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    pending.append(buffer, static_cast<size_t>(got));
    size_t end;
    std::lock_guard<std::mutex> guard(lock_);
    while ((end = pending.find('\n')) != std::string::npos) {
      std::string line = pending.substr(0, end);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines_.push_back(std::move(line));
      pending.erase(0, end + 1);
    }
    changed_.notify_all();
  }
  close(fd);
  std::lock_guard<std::mutex> guard(lock_);
  if (!pending.empty()) lines_.push_back(pending);
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

}  // namespace tssoap::test
