// LoopbackHttpServer: a small HTTP server inside the test process, on an ephemeral port of
// 127.0.0.1, whose answers a test scripts: a well-behaved SOAP answer, or one of the ways a
// server misbehaves (see misbehaving_servers.h). Each connection is served on its own thread;
// a responder is called once per request with the parsed request and the connection.
//
// Lifetime is bounded: the server stops accepting after `lifetime` and, like its destructor,
// wakes every responder that waits (HoldOpen) and closes every connection, so that no test can
// hang on it. It records the requests and counts the connections it accepted.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tssoap::test {

// "http://127.0.0.1:<port><path>".
inline std::string LoopbackUrl(int port, const std::string& path) {
  return "http://127.0.0.1:" + std::to_string(port) + path;
}

struct HttpRequest {
  std::string method;
  std::string target;
  std::string headerBlock;  // the header lines as received, CRLF-separated
  std::string body;

  // The value of the first header named name (case-insensitive), trimmed; empty if absent.
  std::string Header(std::string_view name) const;
};

class LoopbackHttpServer;

// One accepted connection, as a responder sees it.
class HttpConnection {
 public:
  HttpConnection(int fd, LoopbackHttpServer& server) : fd_(fd), server_(server) {}
  // Sends all of data; false when the peer has gone.
  bool Send(std::string_view data);
  // Waits until the server stops or the client closes the connection.
  void HoldOpen();
  // Closes the connection at once, ending the exchange from the server's side.
  void Close();
  bool IsClosed() const { return fd_ < 0; }

 private:
  int fd_;
  LoopbackHttpServer& server_;
};

class LoopbackHttpServer {
 public:
  using Responder = std::function<void(HttpConnection&, const HttpRequest&)>;
  static constexpr std::chrono::seconds kDefaultLifetime{60};

  explicit LoopbackHttpServer(Responder responder,
                              std::chrono::milliseconds lifetime = kDefaultLifetime);
  ~LoopbackHttpServer();
  LoopbackHttpServer(const LoopbackHttpServer&) = delete;
  LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

  bool Started() const { return port_ > 0; }
  int Port() const { return port_; }
  // "http://127.0.0.1:<port><path>".
  std::string Url(const std::string& path = "/service") const { return LoopbackUrl(port_, path); }
  std::vector<HttpRequest> Requests() const;
  int Connections() const { return connections_.load(); }

  // Stops at once: no more connections, responders woken, connections closed. Idempotent.
  void Stop();

 private:
  friend class HttpConnection;
  void AcceptLoop(std::chrono::steady_clock::time_point deadline);
  // Accepts no more, wakes every waiting responder and shuts every connection down.
  void Halt();
  void Serve(int fd);
  bool ReadRequest(int fd, std::string& buffer, HttpRequest& request);

  Responder responder_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::atomic<int> connections_{0};
  std::thread acceptor_;
  mutable std::mutex lock_;
  std::vector<std::thread> workers_;
  std::vector<int> openFds_;
  std::vector<HttpRequest> requests_;
};

// An HTTP/1.1 answer with Content-Length; extraHeaders are whole lines, each ending in "\r\n".
std::string HttpResponse(int status, std::string_view reason, std::string_view contentType,
                         std::string_view body, std::string_view extraHeaders = {});
// The same body sent with chunked transfer encoding, in chunks of chunkSize bytes.
std::string ChunkedHttpResponse(int status, std::string_view contentType, std::string_view body,
                                size_t chunkSize);

// data compressed by the gzip program, for Content-Encoding tests; empty if that failed.
std::string Gzip(std::string_view data);

// An unused TCP port of 127.0.0.1 at the moment of asking, for programs that can't take port 0.
int PickFreePort();
// True when a TCP connection to 127.0.0.1:port succeeds.
bool Accepts(int port);

}  // namespace tssoap::test
