#include "common/tiny_proxy.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace tssoap::test {

TinyProxy::TinyProxy(const Credentials& required) {
  char pattern[] = "/tmp/tssoap-tinyproxy-XXXXXX";
  if (mkdtemp(pattern) == nullptr) {
    error_ = "can't make a temporary directory";
    return;
  }
  directory_ = pattern;
  // Another program may take the picked port before tinyproxy binds it: then try another.
  for (int attempt = 0; attempt < 5 && port_ == 0; ++attempt) {
    int port = PickFreePort();
    if (port == 0) continue;
    StartOn(port, required);
  }
  if (port_ == 0 && error_.empty()) error_ = "tinyproxy didn't start: " + Log();
}

void TinyProxy::StartOn(int port, const Credentials& required) {
  std::string config = directory_ + "/tinyproxy.conf";
  {
    std::ofstream out(config, std::ios::trunc);
    out << "Port " << port << "\nListen 127.0.0.1\nTimeout 30\nMaxClients 50\nAllow 127.0.0.1\n"
        << "LogFile \"" << directory_ << "/tinyproxy.log\"\nLogLevel Info\nDisableViaHeader Yes\n";
    if (!required.user.empty())
      out << "BasicAuth " << required.user << " " << required.password << "\n";
  }
  process_ =
      std::make_unique<ChildProcess>("tinyproxy", std::vector<std::string>{"-d", "-c", config});
  if (!process_->Error().empty()) {
    error_ = process_->Error();
    return;
  }
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
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
  std::error_code ignored;  // no directory when mkdtemp failed
  std::filesystem::remove_all(directory_, ignored);
}

std::string TinyProxy::Log() const {
  std::stringstream text;
  text << std::ifstream(directory_ + "/tinyproxy.log").rdbuf();
  return text.str();
}

}  // namespace tssoap::test
