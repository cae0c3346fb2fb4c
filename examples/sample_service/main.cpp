// The sample SOAP service: a gSOAP server on 127.0.0.1 that serves each TCP connection on a
// thread of its own and keeps connections alive between requests.
//
//   sample_service [--port N] [--chunked]
//
// --port 0 (the default) takes an ephemeral port. When listening, the program prints
// "PORT <n>" on a line of its own, and "CONNECTION <k>" for the k-th connection it accepts;
// stdout is flushed after each line. --chunked sends answers with chunked transfer encoding.
// The program ends on SIGTERM or SIGINT, and, when its stdin is a pipe or socket, as soon as the
// other end closes it, so that a test that dies leaves no server behind.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "sample.nsmap"
#include "sample_server.h"
#include "soapH.h"

namespace {

std::atomic<int> acceptedConnections{0};

// An idle kept-alive connection is closed after this long, so that threads don't pile up.
constexpr int kIdleSeconds = 60;

struct Options {
  int port = 0;
  bool chunked = false;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    std::string argument = argv[i];
    if (argument == "--port" && i + 1 < argc) {
      char* end = nullptr;
      long port = std::strtol(argv[++i], &end, 10);
      if (*end != '\0' || port < 0 || port > 65535) return false;
      options.port = static_cast<int>(port);
    } else if (argument == "--chunked") {
      options.chunked = true;
    } else {
      return false;
    }
  }
  return true;
}

void ExitWhenStdinCloses() {
  struct stat info {};
  if (fstat(STDIN_FILENO, &info) != 0 || !(S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode))) {
    return;  // a terminal or /dev/null: the program runs until it is stopped
  }
  std::thread([] {
    char buffer[256];
    while (read(STDIN_FILENO, buffer, sizeof buffer) > 0) {
    }
    std::fflush(stdout);
    std::_Exit(0);
  }).detach();
}

void Serve(struct soap* connection) {
  soap_serve(connection);  // loops over the requests of a kept-alive connection
  soap_destroy(connection);
  soap_end(connection);
  soap_free(connection);
}

int BoundPort(SOAP_SOCKET socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
  if (address.ss_family == AF_INET6)
    return ntohs(reinterpret_cast<sockaddr_in6*>(&address)->sin6_port);
  return ntohs(reinterpret_cast<sockaddr_in*>(&address)->sin_port);
}

}  // namespace

int sample_server::AcceptedConnections() { return acceptedConnections.load(); }

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    std::fprintf(stderr, "usage: %s [--port N] [--chunked]\n", argv[0]);
    return 2;
  }
  ExitWhenStdinCloses();

  // SOAP_C_UTFSTRING keeps strings in UTF-8; without it gSOAP narrows them to Latin-1.
  struct soap* soap =
      soap_new1(SOAP_IO_KEEPALIVE | SOAP_C_UTFSTRING | (options.chunked ? SOAP_IO_CHUNK : 0));
  soap_set_namespaces(soap, namespaces);
  soap->bind_flags = SO_REUSEADDR;
  soap->max_keep_alive = 10000;
  // A client that goes away in the middle of an answer (wrk at the end of its run) must not end
  // the service: its write fails instead of raising SIGPIPE.
  soap->socket_flags = MSG_NOSIGNAL;
  // Arrays of up to a million items (gSOAP's own limit is 100,000), for measuring how the cost of a
  // call grows with its size.
  soap->maxoccurs = 1000000;
  soap->recv_timeout = kIdleSeconds;
  soap->send_timeout = kIdleSeconds;
  SOAP_SOCKET listener = soap_bind(soap, "127.0.0.1", options.port, 64);
  if (!soap_valid_socket(listener)) {
    soap_print_fault(soap, stderr);
    return 1;
  }
  std::printf("PORT %d\n", BoundPort(listener));
  std::fflush(stdout);

  for (;;) {
    SOAP_SOCKET accepted = soap_accept(soap);
    if (!soap_valid_socket(accepted)) {
      if (soap->errnum == 0) continue;  // a time-out of accept, not an error
      soap_print_fault(soap, stderr);
      continue;
    }
    int number = ++acceptedConnections;
    std::printf("CONNECTION %d\n", number);
    std::fflush(stdout);
    struct soap* connection = soap_copy(soap);
    if (connection == nullptr) {
      soap_force_closesock(soap);
      continue;
    }
    std::thread(Serve, connection).detach();
  }
}
