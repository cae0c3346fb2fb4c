#include "common/tiny_proxy.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace tssoap::test {

namespace {

constexpr int kAttempts = 5;
constexpr auto kStartWait = std::chrono::seconds(10);

std::string TinyproxyPath() {
  for (const char* candidate : {"/usr/bin/tinyproxy", "/usr/sbin/tinyproxy",
                                "/usr/local/bin/tinyproxy", "/usr/local/sbin/tinyproxy"}) {
    if (access(candidate, X_OK) == 0) return candidate;
  }
  return {};
}

}  // namespace

TinyProxy::TinyProxy(const Credentials& required) {
  std::string program = TinyproxyPath();
  if (program.empty()) {
    error_ = "tinyproxy is not installed";
    return;
  }
  char pattern[] = "/tmp/tssoap-tinyproxy-XXXXXX";
  if (mkdtemp(pattern) == nullptr) {
    error_ = "can't make a temporary directory";
    return;
  }
  directory_ = pattern;
  // Another program may take the picked port before tinyproxy binds it: then try another.
  for (int attempt = 0; attempt < kAttempts && port_ == 0; ++attempt) {
    int port = PickFreePort();
    if (port == 0) continue;
    StartOn(port, required.user.empty() ? nullptr : &required);
  }
  if (port_ == 0 && error_.empty()) error_ = "tinyproxy didn't start: " + Log();
}

void TinyProxy::StartOn(int port, const Credentials* required) {
  std::string config = directory_ + "/tinyproxy.conf";
  {
    std::ofstream out(config, std::ios::trunc);
    out << "Port " << port << "\n"
        << "Listen 127.0.0.1\n"
        << "Timeout 30\n"
        << "MaxClients 50\n"
        << "Allow 127.0.0.1\n"
        << "LogFile \"" << directory_ << "/tinyproxy.log\"\n"
        << "LogLevel Info\n"
        << "DisableViaHeader Yes\n";
    if (required != nullptr)
      out << "BasicAuth " << required->user << " " << required->password << "\n";
  }
  process_ =
      std::make_unique<ChildProcess>(TinyproxyPath(), std::vector<std::string>{"-d", "-c", config});
  if (!process_->Error().empty()) {
    error_ = process_->Error();
    return;
  }
  auto deadline = std::chrono::steady_clock::now() + kStartWait;
  while (std::chrono::steady_clock::now() < deadline) {
    if (Accepts(port)) {
      port_ = port;
      return;
    }
    if (!process_->Running()) break;  // it ended, most likely over the port
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  process_.reset();
}

TinyProxy::~TinyProxy() {
  process_.reset();
  if (!directory_.empty()) {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }
}

std::string TinyProxy::Address() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::string TinyProxy::Address(const std::string& user, const std::string& password) const {
  return "http://" + user + ":" + password + "@127.0.0.1:" + std::to_string(port_);
}

std::string TinyProxy::Log() const {
  std::ifstream in(directory_ + "/tinyproxy.log");
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace tssoap::test
