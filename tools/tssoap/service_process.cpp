#include "tools/tssoap/service_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

extern char** environ;

namespace tssoap::cli {
namespace {

constexpr auto kStopWait = std::chrono::seconds(5);

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

// Reads up to the "PORT <n>" line within the time given; 0 when it doesn't come.
int ReadPort(int fd, std::chrono::milliseconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  std::string pending;
  for (;;) {
    size_t end;
    while ((end = pending.find('\n')) != std::string::npos) {
      std::string line = pending.substr(0, end);
      pending.erase(0, end + 1);
      if (line.rfind("PORT ", 0) == 0) return std::atoi(line.c_str() + 5);
    }
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return 0;
    pollfd ready{fd, POLLIN, 0};
    int polled = poll(&ready, 1, static_cast<int>(left.count()));
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) return 0;
    char buffer[256];
    ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return 0;
    pending.append(buffer, static_cast<size_t>(got));
  }
}

}  // namespace

ServiceProcess::ServiceProcess(const std::string& program) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0)
    throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
  if (pipe2(output, O_CLOEXEC) != 0) {
    int saved = errno;
    close(input[0]);
    close(input[1]);
    throw std::runtime_error(std::string("pipe: ") + std::strerror(saved));
  }
  // A write to the pipe of a service that has gone must not end this process.
  signal(SIGPIPE, SIG_IGN);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::vector<std::string> arguments{program, "--port", "0"};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  int failed = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  if (failed != 0) {
    close(input[1]);
    close(output[0]);
    pid_ = -1;
    throw std::runtime_error("can't start the sample service " + program + ": " +
                             std::strerror(failed));
  }
  stdinWrite_ = input[1];
  port_ = ReadPort(output[0], kStartWait);
  if (port_ <= 0) {
    close(output[0]);
    Stop();
    throw std::runtime_error("the sample service " + program + " didn't tell its port within " +
                             std::to_string(kStartWait.count()) + " seconds");
  }
  drain_ = std::thread([fd = output[0]] {
    char buffer[4096];
    for (;;) {
      ssize_t got = read(fd, buffer, sizeof buffer);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) break;
    }
    close(fd);
  });
}

ServiceProcess::~ServiceProcess() { Stop(); }

void ServiceProcess::Stop() {
  if (stdinWrite_ >= 0) {
    close(stdinWrite_);
    stdinWrite_ = -1;
  }
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    if (!WaitForExit(pid_, kStopWait)) {
      kill(pid_, SIGKILL);
      WaitForExit(pid_, kStopWait);
    }
    pid_ = -1;
  }
  if (drain_.joinable()) drain_.join();
}

}  // namespace tssoap::cli
