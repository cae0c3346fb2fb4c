#include "common/loopback_http_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

namespace tssoap::test {

namespace {

// Requests bigger than this are a test's mistake, not something to buffer.
constexpr size_t kRequestLimit = 16 * 1024 * 1024;

std::string_view Trim(std::string_view text) {
  size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

sockaddr_in LoopbackAddress(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A socket bound to an ephemeral port of 127.0.0.1, and that port; -1 and 0 when that fails.
std::pair<int, int> BindEphemeral() {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = LoopbackAddress(0);
  socklen_t length = sizeof address;
  if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    return {fd, ntohs(address.sin_port)};
  }
  if (fd >= 0) close(fd);
  return {-1, 0};
}

}  // namespace

int PickFreePort() {
  auto [fd, port] = BindEphemeral();
  if (fd >= 0) close(fd);
  return port;
}

bool Accepts(int port) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = LoopbackAddress(port);
  bool connected =
      fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  if (fd >= 0) close(fd);
  return connected;
}

std::string HttpRequest::Header(std::string_view name) const {
  std::string_view block = headerBlock;
  for (size_t start = 0; start < block.size();) {
    size_t end = std::min(block.find("\r\n", start), block.size());
    std::string_view line = block.substr(start, end - start);
    size_t colon = line.find(':');
    std::string_view key = Trim(line.substr(0, colon));
    if (colon != std::string_view::npos && key.size() == name.size() &&
        strncasecmp(key.data(), name.data(), key.size()) == 0) {
      return std::string(Trim(line.substr(colon + 1)));
    }
    start = end + 2;
  }
  return {};
}

bool HttpConnection::Send(std::string_view data) {
  while (!data.empty() && fd_ >= 0) {
    ssize_t sent = send(fd_, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    data.remove_prefix(static_cast<size_t>(sent));
  }
  return fd_ >= 0;
}

void HttpConnection::HoldOpen() {
  char discard[4096];
  ssize_t got;
  while (fd_ >= 0 &&
         ((got = recv(fd_, discard, sizeof discard, 0)) > 0 || (got < 0 && errno == EINTR))) {
  }
}

void HttpConnection::Close() {
  if (fd_ < 0) return;
  std::lock_guard<std::mutex> guard(server_.lock_);
  auto& open = server_.openFds_;
  open.erase(std::remove(open.begin(), open.end(), fd_), open.end());
  close(fd_);
  fd_ = -1;
}

LoopbackHttpServer::LoopbackHttpServer(Responder responder, std::chrono::milliseconds lifetime)
    : responder_(std::move(responder)) {
  auto [fd, port] = BindEphemeral();
  listener_ = fd;
  if (listener_ < 0 || listen(listener_, 64) != 0) return;
  port_ = port;
  acceptor_ = std::thread(&LoopbackHttpServer::AcceptLoop, this,
                          std::chrono::steady_clock::now() + lifetime);
}

LoopbackHttpServer::~LoopbackHttpServer() {
  Stop();
  if (listener_ >= 0) close(listener_);
}

std::vector<HttpRequest> LoopbackHttpServer::Requests() const {
  std::lock_guard<std::mutex> guard(lock_);
  return requests_;
}

void LoopbackHttpServer::Stop() {
  Halt();
  if (acceptor_.joinable()) acceptor_.join();
  std::vector<std::thread> workers;
  {
    std::lock_guard<std::mutex> guard(lock_);
    workers.swap(workers_);
  }
  for (std::thread& worker : workers) worker.join();
}

// A shut-down socket wakes whoever waits on it: the acceptor, a reader, a responder holding on.
void LoopbackHttpServer::Halt() {
  stopping_ = true;
  std::lock_guard<std::mutex> guard(lock_);
  if (listener_ >= 0) shutdown(listener_, SHUT_RDWR);
  for (int fd : openFds_) shutdown(fd, SHUT_RDWR);
}

void LoopbackHttpServer::AcceptLoop(std::chrono::steady_clock::time_point deadline) {
  while (!stopping_) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) break;
    pollfd wait = {listener_, POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(std::min<int64_t>(left.count(), 1000))) <= 0) continue;
    int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    ++connections_;
    std::lock_guard<std::mutex> guard(lock_);
    openFds_.push_back(fd);
    workers_.emplace_back(&LoopbackHttpServer::Serve, this, fd);
  }
  Halt();  // the lifetime is over, or Stop was called: wake every waiting responder
}

void LoopbackHttpServer::Serve(int fd) {
  std::string buffer;
  HttpConnection connection(fd, *this);
  HttpRequest request;
  while (!connection.IsClosed() && ReadRequest(fd, buffer, request)) {
    {
      std::lock_guard<std::mutex> guard(lock_);
      requests_.push_back(request);
    }
    responder_(connection, request);
  }
  connection.Close();
}

bool LoopbackHttpServer::ReadRequest(int fd, std::string& buffer, HttpRequest& request) {
  request = HttpRequest();
  char chunk[8192];
  auto readMore = [&]() {
    ssize_t got;
    while ((got = recv(fd, chunk, sizeof chunk, 0)) < 0 && errno == EINTR) {
    }
    if (got <= 0 || buffer.size() > kRequestLimit) return false;
    buffer.append(chunk, static_cast<size_t>(got));
    return true;
  };
  size_t headerEnd;
  while ((headerEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
    if (!readMore()) return false;
  }
  size_t headers = std::min(buffer.find("\r\n") + 2, headerEnd);  // past the request line
  std::istringstream(buffer.substr(0, headers)) >> request.method >> request.target;
  request.headerBlock = buffer.substr(headers, headerEnd - headers);
  size_t length = std::strtoul(request.Header("Content-Length").c_str(), nullptr, 10);
  size_t bodyStart = headerEnd + 4;
  while (buffer.size() - bodyStart < length) {
    if (!readMore()) return false;
  }
  request.body = buffer.substr(bodyStart, length);
  buffer.erase(0, bodyStart + length);
  return true;
}

std::string HttpResponse(int status, std::string_view reason, std::string_view contentType,
                         std::string_view body, std::string_view extraHeaders) {
  std::string response = "HTTP/1.1 " + std::to_string(status) + " " + std::string(reason) + "\r\n";
  if (!contentType.empty()) response.append("Content-Type: ").append(contentType).append("\r\n");
  response.append("Content-Length: " + std::to_string(body.size()) + "\r\n");
  response.append(extraHeaders).append("\r\n").append(body);
  return response;
}

std::string ChunkedHttpResponse(int status, std::string_view contentType, std::string_view body,
                                size_t chunkSize) {
  std::ostringstream response;
  response << "HTTP/1.1 " << status << " OK\r\nContent-Type: " << contentType
           << "\r\nTransfer-Encoding: chunked\r\n\r\n"
           << std::hex;
  for (size_t at = 0; at < body.size(); at += chunkSize) {
    std::string_view chunk = body.substr(at, chunkSize);
    response << chunk.size() << "\r\n" << chunk << "\r\n";
  }
  response << "0\r\n\r\n";
  return response.str();
}

std::string Gzip(std::string_view data) {
  const std::string path = ::testing::TempDir() + "tssoap-gzip-" + std::to_string(getpid());
  std::ofstream(path, std::ios::binary)
      .write(data.data(), static_cast<std::streamsize>(data.size()));
  std::string compressed;
  if (FILE* gzip = popen(("gzip -c -n " + path).c_str(), "r")) {
    char chunk[8192];
    for (size_t got; (got = fread(chunk, 1, sizeof chunk, gzip)) > 0;)
      compressed.append(chunk, got);
    pclose(gzip);
  }
  std::remove(path.c_str());
  return compressed;
}

}  // namespace tssoap::test
