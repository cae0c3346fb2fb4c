// TlsLoopbackServer: an HTTPS server on an ephemeral port of 127.0.0.1 with a certificate of the
// test's choosing, answering every request with the same bytes. TLS is OpenSSL's own; a client
// that refuses the certificate simply ends the handshake. Connections are served one after the
// other on one thread, each read with a time-out, so that no test can hang on it.
//
// TestCertificates makes a private CA and certificates it signed, with openssl, into a temporary
// directory that it removes again: nothing secret is kept in the source tree.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tssoap::test {

class TestCertificates {
 public:
  // A CA (also in a hashed directory), and server certificates signed by it: "good" for IP
  // 127.0.0.1, "otherhost" for the name other.example only, "expired" for 127.0.0.1 but out of
  // date, and "selfsigned", its own issuer.
  TestCertificates();
  ~TestCertificates();
  TestCertificates(const TestCertificates&) = delete;
  TestCertificates& operator=(const TestCertificates&) = delete;

  bool Made() const { return error_.empty(); }
  const std::string& Error() const { return error_; }
  const std::string& Directory() const { return directory_; }
  std::string CaFile() const { return directory_ + "/ca.pem"; }
  // A directory holding the CA under its hash name, as SSL_CERT_DIR wants it.
  std::string CaDirectory() const { return directory_ + "/cadir"; }
  std::string CertificateFile(const std::string& name) const {
    return directory_ + "/" + name + ".pem";
  }
  std::string KeyFile(const std::string& name) const { return directory_ + "/" + name + ".key"; }

 private:
  bool Run(const std::string& command);

  std::string directory_;
  std::string error_;
};

class TlsLoopbackServer {
 public:
  TlsLoopbackServer(const std::string& certificateFile, const std::string& keyFile,
                    std::string response);
  ~TlsLoopbackServer();
  TlsLoopbackServer(const TlsLoopbackServer&) = delete;
  TlsLoopbackServer& operator=(const TlsLoopbackServer&) = delete;

  bool Started() const { return port_ > 0; }
  int Port() const { return port_; }
  // "https://127.0.0.1:<port><path>".
  std::string Url(const std::string& path = "/service") const;
  // The request heads (request line and headers) of the requests read.
  std::vector<std::string> Requests() const;

 private:
  void Serve();
  void ServeOne(int fd);

  void* context_ = nullptr;  // SSL_CTX
  std::string response_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
  mutable std::mutex lock_;
  std::vector<std::string> requests_;
};

}  // namespace tssoap::test
