#include "common/loopback_http_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace tssoap::test {

namespace {

// Requests bigger than this are a test's mistake, not something to buffer.
constexpr size_t kRequestLimit = 16 * 1024 * 1024;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// Visits each header line as name and value.
template <typename Visit>
void ForEachHeader(std::string_view block, Visit visit) {
  while (!block.empty()) {
    size_t end = block.find("\r\n");
    std::string_view line = block.substr(0, end);
    size_t colon = line.find(':');
    if (colon != std::string_view::npos &&
        visit(Trim(line.substr(0, colon)), Trim(line.substr(colon + 1)))) {
      return;
    }
    if (end == std::string_view::npos) break;
    block.remove_prefix(end + 2);
  }
}

uint32_t Crc32(std::string_view data) {
  uint32_t crc = 0xFFFFFFFFu;
  for (unsigned char byte : data) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

uint32_t Adler32(std::string_view data) {
  uint32_t a = 1;
  uint32_t b = 0;
  for (unsigned char byte : data) {
    a = (a + byte) % 65521;
    b = (b + a) % 65521;
  }
  return b << 16 | a;
}

void AppendLittleEndian(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
}

// Deflate data (RFC 1951) made of stored blocks only.
std::string StoredBlocks(std::string_view data) {
  std::string out;
  do {
    size_t length = std::min<size_t>(data.size(), 65535);
    bool last = length == data.size();
    out.push_back(last ? '\x01' : '\x00');
    AppendLittleEndian(out, static_cast<uint32_t>(length), 2);
    AppendLittleEndian(out, static_cast<uint32_t>(~length & 0xFFFF), 2);
    out.append(data.substr(0, length));
    data.remove_prefix(length);
    if (last) break;
  } while (true);
  return out;
}

}  // namespace

std::string HttpRequest::Header(std::string_view name) const {
  std::string value;
  ForEachHeader(headerBlock, [&](std::string_view key, std::string_view text) {
    if (!SameText(key, name)) return false;
    value = std::string(text);
    return true;
  });
  return value;
}

bool HttpRequest::HasHeader(std::string_view name) const {
  bool found = false;
  ForEachHeader(headerBlock, [&](std::string_view key, std::string_view) {
    found = SameText(key, name);
    return found;
  });
  return found;
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
  while (fd_ >= 0 && server_.WaitReadable(fd_)) {
    ssize_t got = recv(fd_, discard, sizeof discard, 0);
    if (got == 0 || (got < 0 && errno != EINTR)) return;
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
  if (pipe2(stopPipe_, O_CLOEXEC) != 0) return;
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener_ < 0) return;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener_, 64) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    return;
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread(&LoopbackHttpServer::AcceptLoop, this,
                          std::chrono::steady_clock::now() + lifetime);
}

LoopbackHttpServer::~LoopbackHttpServer() {
  Stop();
  if (listener_ >= 0) close(listener_);
  for (int fd : stopPipe_) {
    if (fd >= 0) close(fd);
  }
}

std::string LoopbackHttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<HttpRequest> LoopbackHttpServer::Requests() const {
  std::lock_guard<std::mutex> guard(lock_);
  return requests_;
}

void LoopbackHttpServer::Stop() {
  if (!stopping_.exchange(true) && stopPipe_[1] >= 0) {
    char wake = 1;
    (void)!write(stopPipe_[1], &wake, 1);  // never read: the pipe stays readable for all
  }
  if (acceptor_.joinable()) acceptor_.join();
  std::vector<std::thread> workers;
  {
    std::lock_guard<std::mutex> guard(lock_);
    for (int fd : openFds_) shutdown(fd, SHUT_RDWR);
    workers.swap(workers_);
  }
  for (std::thread& worker : workers) worker.join();
}

void LoopbackHttpServer::AcceptLoop(std::chrono::steady_clock::time_point deadline) {
  while (!stopping_) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) break;
    pollfd waits[2] = {{listener_, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
    int ready = poll(waits, 2, static_cast<int>(std::min<int64_t>(left.count(), 1000)));
    if (ready <= 0 || (waits[1].revents & POLLIN) != 0) continue;
    int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    ++connections_;
    std::lock_guard<std::mutex> guard(lock_);
    openFds_.push_back(fd);
    workers_.emplace_back(&LoopbackHttpServer::Serve, this, fd);
  }
  // The lifetime is over (or Stop was called): wake every waiting responder.
  if (!stopping_.exchange(true)) {
    char wake = 1;
    (void)!write(stopPipe_[1], &wake, 1);
  }
  std::lock_guard<std::mutex> guard(lock_);
  for (int fd : openFds_) shutdown(fd, SHUT_RDWR);
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

bool LoopbackHttpServer::WaitReadable(int fd) {
  pollfd waits[2] = {{fd, POLLIN, 0}, {stopPipe_[0], POLLIN, 0}};
  for (;;) {
    int ready = poll(waits, 2, -1);
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0 || (waits[1].revents & POLLIN) != 0) return false;
    return true;
  }
}

bool LoopbackHttpServer::ReadRequest(int fd, std::string& buffer, HttpRequest& request) {
  request = HttpRequest();
  char chunk[8192];
  auto readMore = [&]() {
    if (!WaitReadable(fd)) return false;
    ssize_t got = recv(fd, chunk, sizeof chunk, 0);
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
  out.append(StoredBlocks(data));
  AppendLittleEndian(out, Crc32(data), 4);
  AppendLittleEndian(out, static_cast<uint32_t>(data.size()), 4);
  return out;
}

std::string ZlibStored(std::string_view data) {
  std::string out("\x78\x01", 2);
  out.append(StoredBlocks(data));
  uint32_t adler = Adler32(data);
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(adler >> shift));
  return out;
}

}  // namespace tssoap::test
