#include "common/tls_loopback_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tssoap::test {
namespace {

constexpr const char* kEcKey = "-newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
constexpr int kReadTimeoutSeconds = 10;

}  // namespace

TestCertificates::TestCertificates() {
  std::string pattern = ::testing::TempDir() + "tssoap-tls-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    error_ = "can't make a temporary directory " + pattern;
    return;
  }
  directory_ = pattern;
  const std::string d = directory_ + "/";
  if (!Run(std::string("openssl req -x509 ") + kEcKey + " -subj '/CN=tssoap test CA' -days 2 " +
           "-keyout " + d + "ca.key -out " + d + "ca.pem")) {
    return;
  }
  // name, subjectAltName, validity in days (negative: ended before it began, so expired now)
  const struct {
    const char* name;
    const char* altName;
    const char* days;
  } servers[] = {{"good", "IP:127.0.0.1", "1"},
                 {"otherhost", "DNS:other.example", "1"},
                 {"expired", "IP:127.0.0.1", "-1"}};
  for (const auto& server : servers) {
    const std::string base = d + server.name;
    std::ofstream(base + ".ext") << "subjectAltName=" << server.altName
                                 << "\nbasicConstraints=CA:FALSE\n";
    if (!Run(std::string("openssl req -new ") + kEcKey + " -subj /CN=" + server.name + " -keyout " +
             base + ".key -out " + base + ".csr") ||
        !Run("openssl x509 -req -in " + base + ".csr -CA " + d + "ca.pem -CAkey " + d +
             "ca.key -CAcreateserial -days " + server.days + " -extfile " + base + ".ext -out " +
             base + ".pem")) {
      return;
    }
  }
  std::filesystem::create_directory(CaDirectory());
  std::filesystem::copy_file(CaFile(), CaDirectory() + "/ca.pem");
  if (!Run("openssl rehash " + CaDirectory())) return;
  Run(std::string("openssl req -x509 ") + kEcKey +
      " -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -days 1 -keyout " + d +
      "selfsigned.key -out " + d + "selfsigned.pem");
}

TestCertificates::~TestCertificates() {
  std::error_code ignored;
  if (!directory_.empty()) std::filesystem::remove_all(directory_, ignored);
}

bool TestCertificates::Run(const std::string& command) {
  if (std::system((command + " >/dev/null 2>&1").c_str()) == 0) return true;
  error_ = "failed: " + command;
  return false;
}

TlsLoopbackServer::TlsLoopbackServer(const std::string& certificateFile, const std::string& keyFile,
                                     std::string response)
    : response_(std::move(response)) {
  SSL_CTX* context = SSL_CTX_new(TLS_server_method());
  context_ = context;
  if (context == nullptr ||
      SSL_CTX_use_certificate_chain_file(context, certificateFile.c_str()) != 1 ||
      SSL_CTX_use_PrivateKey_file(context, keyFile.c_str(), SSL_FILETYPE_PEM) != 1) {
    return;
  }
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      listen(listener_, 8) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    return;
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Serve(); });
}

TlsLoopbackServer::~TlsLoopbackServer() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  if (listener_ >= 0) close(listener_);
  SSL_CTX_free(static_cast<SSL_CTX*>(context_));
}

std::string TlsLoopbackServer::Url(const std::string& path) const {
  return "https://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> TlsLoopbackServer::Requests() const {
  std::lock_guard<std::mutex> guard(lock_);
  return requests_;
}

void TlsLoopbackServer::Serve() {
  // A client that refuses the certificate has closed the connection by the time the server
  // writes to it again; the write fails, and the signal stays blocked on this thread alone.
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (poll(&waiting, 1, 100) <= 0) continue;
    int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    timeval timeout{kReadTimeoutSeconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    ServeOne(fd);
    close(fd);
  }
  // OpenSSL keeps per-thread state (its private random generator) that only this call frees;
  // without it a second server thread in the same process leaves it behind.
  OPENSSL_thread_stop();
}

void TlsLoopbackServer::ServeOne(int fd) {
  SSL* tls = SSL_new(static_cast<SSL_CTX*>(context_));
  if (tls == nullptr) return;
  SSL_set_fd(tls, fd);
  // A client that refuses the certificate ends the handshake here.
  if (SSL_accept(tls) == 1) {
    std::string received;
    char buffer[4096];
    size_t headEnd = std::string::npos;
    size_t wanted = 0;
    while (headEnd == std::string::npos || received.size() < headEnd + 4 + wanted) {
      int got = SSL_read(tls, buffer, sizeof buffer);
      if (got <= 0) break;
      received.append(buffer, static_cast<size_t>(got));
      if (headEnd == std::string::npos &&
          (headEnd = received.find("\r\n\r\n")) != std::string::npos) {
        std::string head = received.substr(0, headEnd);
        for (char& c : head) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        size_t length = head.find("content-length:");
        if (length != std::string::npos)
          wanted = std::strtoul(head.c_str() + length + 15, nullptr, 10);
      }
    }
    if (headEnd != std::string::npos) {
      {
        std::lock_guard<std::mutex> guard(lock_);
        requests_.push_back(received.substr(0, headEnd));
      }
      SSL_write(tls, response_.data(), static_cast<int>(response_.size()));
      SSL_shutdown(tls);
    }
  }
  SSL_free(tls);
  ERR_clear_error();
}

}  // namespace tssoap::test
