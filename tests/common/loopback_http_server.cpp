#include "common/loopback_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>
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

// The trimmed value of the first header line named name, in any case.
std::optional<std::string_view> FindHeader(std::string_view block, std::string_view name) {
  for (size_t start = 0; start < block.size();) {
    size_t end = std::min(block.find("\r\n", start), block.size());
    std::string_view line = block.substr(start, end - start);
    size_t colon = line.find(':');
    std::string_view key = Trim(line.substr(0, colon));
    if (colon != std::string_view::npos && key.size() == name.size() &&
        strncasecmp(key.data(), name.data(), key.size()) == 0) {
      return Trim(line.substr(colon + 1));
    }
    start = end + 2;
  }
  return std::nullopt;
}

uint32_t Crc32(std::string_view data) {
  uint32_t crc = 0xFFFFFFFFu;
  for (unsigned char byte : data) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

void AppendLittleEndian(std::string& out, size_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
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
  return std::string(FindHeader(headerBlock, name).value_or(""));
}

bool HttpRequest::HasHeader(std::string_view name) const {
  return FindHeader(headerBlock, name).has_value();
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

std::string LoopbackHttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
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
  std::string_view head(buffer.data(), headerEnd);
  size_t lineEnd = head.find("\r\n");
  std::string_view requestLine = head.substr(0, lineEnd);
  size_t space = requestLine.find(' ');
  size_t secondSpace = requestLine.find(' ', space + 1);
  request.method = std::string(requestLine.substr(0, space));
  request.target = std::string(requestLine.substr(space + 1, secondSpace - space - 1));
  request.headerBlock =
      lineEnd == std::string_view::npos ? "" : std::string(head.substr(lineEnd + 2));
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
  std::string response = "HTTP/1.1 " + std::to_string(status) + " OK\r\n";
  response.append("Content-Type: ").append(contentType).append("\r\n");
  response.append("Transfer-Encoding: chunked\r\n\r\n");
  char size[32];
  for (size_t at = 0; at < body.size(); at += chunkSize) {
    std::string_view chunk = body.substr(at, chunkSize);
    snprintf(size, sizeof size, "%zx\r\n", chunk.size());
    response.append(size).append(chunk).append("\r\n");
  }
  response.append("0\r\n\r\n");
  return response;
}

std::string GzipStored(std::string_view data) {
  std::string out("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\xff", 10);
  const uint32_t crc = Crc32(data);
  const size_t size = data.size();
  do {  // deflate data (RFC 1951) of stored blocks, each of 65535 bytes at most
    size_t length = std::min<size_t>(data.size(), 65535);
    out.push_back(length == data.size() ? '\x01' : '\x00');
    AppendLittleEndian(out, length, 2);
    AppendLittleEndian(out, ~length & 0xFFFF, 2);
    out.append(data.substr(0, length));
    data.remove_prefix(length);
  } while (!data.empty());
  AppendLittleEndian(out, crc, 4);
  AppendLittleEndian(out, size, 4);
  return out;
}

}  // namespace tssoap::test
