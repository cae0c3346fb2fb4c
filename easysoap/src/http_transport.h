// HttpTransport: one libcurl easy handle that posts SOAP requests to one service, directly or
// through an HTTP proxy server. Certificates are verified against the system's CA bundle, or the
// ones that CURL_CA_BUNDLE, SSL_CERT_FILE and SSL_CERT_DIR name. The handle and the multi handle
// that drives it live as long as the transport, so that libcurl keeps the TCP connection open
// between posts and reuses it. Used by one thread at a time.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <optional>
#include <string>

#include "easysoap/src/service_address.h"
#include "support/values/soap_string.h"

namespace easysoap_internal {

struct HttpAnswer {
  long status = 0;
  std::string contentType;  // as the server sent it; empty when it sent none
  std::string charset;      // the charset parameter of contentType, unquoted; may be empty
  uint64_t bodyBytes = 0;   // decompressed
};

// What takes an answer's body as it arrives, decompressed. The header is complete before the first
// byte, so status and Content-Type are known from then on.
class AnswerReader {
 public:
  virtual ~AnswerReader() = default;
  // False stops the transfer; the exchange then ends as if the answer had been complete. Nothing
  // may be thrown.
  virtual bool Receive(const HttpAnswer& answer, const char* data, size_t size) noexcept = 0;
};

class HttpTransport {
 public:
  static constexpr long kConnectTimeoutSeconds = 30;

  // timeoutSeconds limits each whole exchange; 0 means no limit. maxAnswerBytes bounds the body
  // after decompression.
  HttpTransport(ServiceAddress service, std::optional<ServiceAddress> proxy, long timeoutSeconds,
                uint64_t maxAnswerBytes);
  ~HttpTransport();
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  // POSTs body as text/xml. soapAction null sends no SOAPAction header, an empty one sends
  // SOAPAction: "" and any other text is sent quoted. answer is replaced, its buffers reused; the
  // body goes to reader as it arrives. Throws SOAPSocketException when the exchange fails on the
  // way (naming host:port, never a password), SOAPException for an answer beyond the size limit
  // or an unusable action.
  void Post(const std::string& body, const SOAPString& soapAction, HttpAnswer& answer,
            AnswerReader& reader);

  // "host:port" of the service, and of the proxy server when there is one, for messages.
  std::string Where() const;
  const ServiceAddress& Service() const { return service_; }

 private:
  // libcurl's limits on an answer's header.
  static constexpr int kMaxHeaderLineBytes = 100 * 1024;
  static constexpr int kMaxHeaderBytes = 300 * 1024;
  static constexpr long kReceiveBufferBytes = 64 * 1024;
  static constexpr long kSendBufferBytes = 256 * 1024;

  static size_t OnBody(char* data, size_t size, size_t count, void* self);
  // Status and Content-Type of the answer being received; false when there was no memory.
  bool TakeHeader(HttpAnswer& answer) const noexcept;
  // What the last exchange got back, as libcurl counts it.
  struct Received {
    long newConnections = -1;  // 0: the exchange went over a reused connection
    long status = 0;           // 0: no status line
    long headerBytes = -1;
    curl_off_t bodyBytes = -1;
  };
  Received WhatCameBack() const;
  // True when a reused connection failed before any byte of an answer came back.
  bool DiedUnanswered(CURLcode code) const;
  // True when the answer's header went beyond libcurl's limits.
  bool HeaderTooLarge(CURLcode code) const;
  void SetHeaders(const SOAPString& soapAction);
  // One exchange, driven to its end.
  CURLcode Perform();
  [[noreturn]] void ThrowTransportFailure(CURLcode code) const;
  // CA certificates named by CURL_CA_BUNDLE or SSL_CERT_FILE, and SSL_CERT_DIR, for the service
  // and an https proxy server; verification itself is always on.
  void TrustCertificatesOfEnvironment();

  ServiceAddress service_;
  std::optional<ServiceAddress> proxy_;
  long timeoutSeconds_;
  uint64_t maxAnswerBytes_;
  CURL* handle_ = nullptr;
  CURLM* multi_ = nullptr;  // holds the kept connection between exchanges
  curl_slist* headers_ = nullptr;
  CURLU* url_ = nullptr;      // the service's address, parsed
  std::string headerAction_;  // the SOAPAction line headers_ was built for
  bool headerHasAction_ = false;
  bool headersBuilt_ = false;
  HttpAnswer* receiving_ = nullptr;
  AnswerReader* reader_ = nullptr;
  bool answerTooLarge_ = false;
  bool stoppedByReader_ = false;
  char errorText_[CURL_ERROR_SIZE] = {};
  std::string trust_;  // which variables named the trusted CAs, for TLS failure messages
};

}  // namespace easysoap_internal
