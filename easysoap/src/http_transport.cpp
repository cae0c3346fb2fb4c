#include "easysoap/src/http_transport.h"

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <cstdlib>
#include <mutex>
#include <optional>
#include <tuple>
#include <utility>

#include "support/values/soap_exception.h"

namespace easysoap_internal {

namespace {

void InitializeCurlOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
      throw SOAPException("The HTTP library (libcurl) could not be initialised");
    }
  });
}

constexpr const char* kUserAgent = "tssoapclient90";

// The answer encodings this libcurl decodes, as it would list them itself for
// CURLOPT_ACCEPT_ENCODING "".
const std::string& DecodedEncodings() {
  static const std::string encodings = [] {
    const curl_version_info_data* info = curl_version_info(CURLVERSION_NOW);
    std::string list;
    for (auto [feature, names] :
         {std::pair{CURL_VERSION_LIBZ, "deflate, gzip"}, std::pair{CURL_VERSION_BROTLI, "br"},
          std::pair{CURL_VERSION_ZSTD, "zstd"}}) {
      if ((info->features & feature) == 0) continue;
      list.append(list.empty() ? "" : ", ").append(names);
    }
    return list.empty() ? std::string("identity") : list;
  }();
  return encodings;
}

// The charset parameter of a Content-Type value, without quotes.
std::string CharsetOf(const std::string& contentType) {
  std::string lower = contentType;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  size_t at = lower.find("charset=");
  if (at == std::string::npos) return {};
  size_t start = at + 8;
  size_t end = contentType.find_first_of("; \t", start);
  std::string charset = contentType.substr(start, end == std::string::npos ? end : end - start);
  if (charset.size() >= 2 && charset.front() == '"' && charset.back() == '"') {
    charset = charset.substr(1, charset.size() - 2);
  }
  return charset;
}

bool IsTlsFailure(CURLcode code) {
  switch (code) {
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return true;
    default:
      return false;
  }
}

// What failed, in the user's words; libcurl's own text follows it in the message.
const char* FailureKind(CURLcode code) {
  if (IsTlsFailure(code)) return "The TLS connection failed with";
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
      return "Can't resolve the host name of";
    case CURLE_COULDNT_RESOLVE_PROXY:
      return "Can't resolve the proxy server's host name on the way to";
    case CURLE_COULDNT_CONNECT:
      return "Can't connect to";
    case CURLE_OPERATION_TIMEDOUT:
      return "Timed out waiting for";
    case CURLE_GOT_NOTHING:
      return "The connection was closed without an answer by";
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
      return "The connection broke off with";
    case CURLE_PROXY:
      return "The proxy server refused the way to";
    default:
      return "The HTTP exchange failed with";
  }
}

// text with every byte but letters, digits and "-._~" written as %xx.
std::string Escaped(CURL* handle, const std::string& text) {
  char* escaped = curl_easy_escape(handle, text.data(), static_cast<int>(text.size()));
  if (escaped == nullptr) throw SOAPMemoryException();
  std::string copy(escaped);
  curl_free(escaped);
  return copy;
}

const char* Environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? value : nullptr;
}

// A peer that resets a connection while TLS writes to it would raise SIGPIPE, whose default ends
// the host's process. libcurl is told not to touch signals (the host has threads), so the calling
// thread blocks SIGPIPE for the exchange and takes back one that arose meanwhile, leaving the
// process-wide disposition alone. Without TLS there is nothing to guard (four system calls an
// exchange): libcurl itself writes to its sockets with MSG_NOSIGNAL.
class SigpipeGuard {
 public:
  SigpipeGuard() {
    sigemptyset(&pipeOnly_);
    sigaddset(&pipeOnly_, SIGPIPE);
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeOnly_, &previous_);
  }
  ~SigpipeGuard() {
    if (!wasPending_) {
      const timespec immediately{0, 0};
      while (sigtimedwait(&pipeOnly_, nullptr, &immediately) == SIGPIPE) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

 private:
  sigset_t pipeOnly_;
  sigset_t previous_;
  bool wasPending_ = false;
};

}  // namespace

HttpTransport::HttpTransport(ServiceAddress service, std::optional<ServiceAddress> proxy,
                             long timeoutSeconds, uint64_t maxAnswerBytes)
    : service_(std::move(service)),
      proxy_(std::move(proxy)),
      timeoutSeconds_(timeoutSeconds < 0 ? 0 : timeoutSeconds),
      maxAnswerBytes_(maxAnswerBytes) {
  InitializeCurlOnce();
  handle_ = curl_easy_init();
  multi_ = curl_multi_init();
  if (handle_ == nullptr || multi_ == nullptr) {
    curl_easy_cleanup(handle_);
    curl_multi_cleanup(multi_);
    throw SOAPMemoryException();
  }
  CURL* h = handle_;
  // The address parsed once, as libcurl parses a CURLOPT_URL text (which it would do again for
  // every request); one it refuses goes in as text, to fail as before when a call is made.
  url_ = curl_url();
  if (url_ != nullptr && curl_url_set(url_, CURLUPART_URL, service_.url.c_str(),
                                      CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK) {
    curl_easy_setopt(h, CURLOPT_CURLU, url_);
  } else {
    curl_easy_setopt(h, CURLOPT_URL, service_.url.c_str());
  }
  curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);  // the host has threads; no alarms for DNS waits
  curl_easy_setopt(h, CURLOPT_ERRORBUFFER, errorText_);
  curl_easy_setopt(h, CURLOPT_TIMEOUT, timeoutSeconds_);
  curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
  curl_easy_setopt(h, CURLOPT_TCP_KEEPALIVE, 1L);  // find a dead peer on a kept connection
  // Large messages in fewer system calls: an answer read 64 KiB at a time (libcurl's default is
  // 16 KiB, with two polls a read), a request sent 256 KiB at a time (64 KiB).
  curl_easy_setopt(h, CURLOPT_BUFFERSIZE, kReceiveBufferBytes);
  curl_easy_setopt(h, CURLOPT_UPLOAD_BUFFERSIZE, kSendBufferBytes);
  // Whatever libcurl can decode. The header itself, and the User-Agent, are lines of the header
  // list, which is built once: as options libcurl would format them anew for every request.
  curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, DecodedEncodings().c_str());
  curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 2L);
  TrustCertificatesOfEnvironment();
  // A SOAP POST isn't repeated to another address behind the caller's back.
  curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(h, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(maxAnswerBytes_));
  curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, &HttpTransport::OnBody);
  curl_easy_setopt(h, CURLOPT_WRITEDATA, this);
  if (service_.hasUser) {
    curl_easy_setopt(h, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
    curl_easy_setopt(h, CURLOPT_USERNAME, service_.user.c_str());
    curl_easy_setopt(h, CURLOPT_PASSWORD, service_.password.c_str());
  }
  if (proxy_) {
    curl_easy_setopt(h, CURLOPT_USERAGENT, kUserAgent);  // for a tunnel's CONNECT request
    std::string proxyUrl = proxy_->scheme + "://" + proxy_->host + ":" + proxy_->port;
    curl_easy_setopt(h, CURLOPT_PROXY, proxyUrl.c_str());  // libcurl copies it
    if (proxy_->hasUser) {
      curl_easy_setopt(h, CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC));
      // libcurl %xx-decodes the proxy server's user and password (not the service's), so they
      // go in escaped to come out as they were written.
      curl_easy_setopt(h, CURLOPT_PROXYUSERNAME, Escaped(h, proxy_->user).c_str());
      curl_easy_setopt(h, CURLOPT_PROXYPASSWORD, Escaped(h, proxy_->password).c_str());
    }
  } else {
    // Explicitly none: libcurl would otherwise follow the http_proxy environment variables (and
    // look up no_proxy for every request).
    curl_easy_setopt(h, CURLOPT_PROXY, "");
    curl_easy_setopt(h, CURLOPT_NOPROXY, "");
  }
}

void HttpTransport::TrustCertificatesOfEnvironment() {
  // The variables that curl's users already know: a bundle file (CURL_CA_BUNDLE before
  // SSL_CERT_FILE) replaces the system's bundle, a directory of hashed certificates is added.
  const char* fileVariable = Environment("CURL_CA_BUNDLE") ? "CURL_CA_BUNDLE" : "SSL_CERT_FILE";
  for (auto [variable, option, proxyOption] :
       {std::tuple{fileVariable, CURLOPT_CAINFO, CURLOPT_PROXY_CAINFO},
        std::tuple{"SSL_CERT_DIR", CURLOPT_CAPATH, CURLOPT_PROXY_CAPATH}}) {
    const char* value = Environment(variable);
    if (value == nullptr) continue;
    curl_easy_setopt(handle_, option, value);  // libcurl copies it
    curl_easy_setopt(handle_, proxyOption, value);
    trust_ += trust_.empty() ? " (trusting the CA certificates of " : ", ";
    trust_.append(variable).append("=").append(value);
  }
  if (!trust_.empty()) trust_ += ")";
}

HttpTransport::~HttpTransport() {
  curl_easy_cleanup(handle_);
  curl_multi_cleanup(multi_);
  curl_url_cleanup(url_);
  curl_slist_free_all(headers_);
}

std::string HttpTransport::Where() const {
  if (!proxy_) return service_.Where();
  return service_.Where() + " (through the proxy server " + proxy_->Where() + ")";
}

size_t HttpTransport::OnBody(char* data, size_t size, size_t count, void* self) {
  auto* transport = static_cast<HttpTransport*>(self);
  size_t bytes = size * count;
  HttpAnswer& answer = *transport->receiving_;
  if (bytes > transport->maxAnswerBytes_ - answer.bodyBytes) {
    transport->answerTooLarge_ = true;
    return 0;  // ends the transfer
  }
  if (answer.bodyBytes == 0 && !transport->TakeHeader(answer)) return 0;
  answer.bodyBytes += bytes;
  if (!transport->reader_->Receive(answer, data, bytes)) {
    transport->stoppedByReader_ = true;
    return 0;
  }
  return bytes;
}

bool HttpTransport::TakeHeader(HttpAnswer& answer) const noexcept {
  try {
    curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &answer.status);
    char* contentType = nullptr;
    curl_easy_getinfo(handle_, CURLINFO_CONTENT_TYPE, &contentType);
    if (contentType != nullptr) {
      answer.contentType = contentType;
      answer.charset = CharsetOf(answer.contentType);
    }
    return true;
  } catch (...) {
    return false;  // no memory: the transfer ends as failed
  }
}

void HttpTransport::SetHeaders(const SOAPString& soapAction) {
  // The header list only changes with the action, so calls to one method share it.
  bool hasAction = !soapAction.IsNull();
  std::string actionLine;
  if (hasAction) {
    actionLine = "SOAPAction: \"";
    for (const char* p = soapAction.CStr(); *p != '\0'; ++p) {
      unsigned char c = static_cast<unsigned char>(*p);
      if (c < 0x20 || c == 0x7F) {
        throw SOAPException(
            "The SOAP action '%.200s' holds a control character, which an HTTP "
            "header can't carry",
            soapAction.CStr());
      }
      if (c == '"' || c == '\\') actionLine.push_back('\\');
      actionLine.push_back(static_cast<char>(c));
    }
    actionLine.push_back('"');
  }
  if (headersBuilt_ && hasAction == headerHasAction_ && actionLine == headerAction_) return;

  curl_slist* list = nullptr;
  auto append = [&list](const char* line) {
    curl_slist* grown = curl_slist_append(list, line);
    if (grown == nullptr) {
      curl_slist_free_all(list);
      throw SOAPMemoryException();
    }
    list = grown;
  };
  // In the place libcurl gives the two when it makes them itself, ahead of the caller's lines.
  append((std::string("User-Agent: ") + kUserAgent).c_str());
  append(("Accept-Encoding: " + DecodedEncodings()).c_str());
  append("Content-Type: text/xml; charset=utf-8");
  append("Accept: text/xml");
  append("Expect:");  // no 100-continue round trip before the body
  if (hasAction) append(actionLine.c_str());
  curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, list);
  curl_slist_free_all(headers_);
  headers_ = list;
  headerAction_ = std::move(actionLine);
  headerHasAction_ = hasAction;
  headersBuilt_ = true;
}

void HttpTransport::Post(const std::string& body, const SOAPString& soapAction, HttpAnswer& answer,
                         AnswerReader& reader) {
  SetHeaders(soapAction);
  answer.status = 0;
  answer.contentType.clear();
  answer.charset.clear();
  answer.bodyBytes = 0;
  receiving_ = &answer;
  reader_ = &reader;
  answerTooLarge_ = false;
  stoppedByReader_ = false;
  errorText_[0] = '\0';
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  CURLcode code;
  {
    std::optional<SigpipeGuard> guard;
    if (service_.scheme == "https" || (proxy_ && proxy_->scheme == "https")) guard.emplace();
    code = Perform();
    // A kept connection may die under the request: a proxy server such as tinyproxy drops the
    // service's "Connection: close" and closes its side after the answer without saying so.
    // libcurl sends such a request again on a new connection by itself, but only five times in
    // the handle's whole life; the sixth ends the call ("Connection died, tried 5 times before
    // giving up"). When nothing came back on a reused connection, the request goes once more on
    // a new one.
    if (DiedUnanswered(code)) {
      errorText_[0] = '\0';
      curl_easy_setopt(handle_, CURLOPT_FRESH_CONNECT, 1L);
      code = Perform();
      curl_easy_setopt(handle_, CURLOPT_FRESH_CONNECT, 0L);
    }
  }
  receiving_ = nullptr;
  reader_ = nullptr;
  if (answerTooLarge_ || code == CURLE_FILESIZE_EXCEEDED) {
    throw SOAPException("The answer from %s is larger than the limit of %llu bytes",
                        Where().c_str(), static_cast<unsigned long long>(maxAnswerBytes_));
  }
  if (HeaderTooLarge(code)) {
    throw SOAPException(
        "The answer from %s has a header larger than the HTTP library takes (%d bytes in one "
        "header line, %d bytes in all)",
        Where().c_str(), kMaxHeaderLineBytes, kMaxHeaderBytes);
  }
  if (stoppedByReader_ && code == CURLE_WRITE_ERROR) return;
  if (code != CURLE_OK) ThrowTransportFailure(code);
  if (answer.bodyBytes == 0 && !TakeHeader(answer)) throw SOAPMemoryException();
}

// What curl_easy_perform does, through a multi handle of the transport's own: easy_perform's
// multi handle also watches a wake-up socket, two more polls an exchange on a kept connection.
CURLcode HttpTransport::Perform() {
  CURLMcode multiCode = curl_multi_add_handle(multi_, handle_);
  CURLcode code = CURLE_OK;
  while (multiCode == CURLM_OK) {
    int running = 0;
    multiCode = curl_multi_perform(multi_, &running);
    if (multiCode != CURLM_OK) break;
    if (running == 0) {
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) code = message->data.result;
      }
      break;
    }
    // The wait ends early at libcurl's own next deadline, the exchange's time-out among them.
    multiCode = curl_multi_wait(multi_, nullptr, 0, 1000, nullptr);
  }
  curl_multi_remove_handle(multi_, handle_);
  if (multiCode != CURLM_OK) {
    return multiCode == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_BAD_FUNCTION_ARGUMENT;
  }
  return code;
}

HttpTransport::Received HttpTransport::WhatCameBack() const {
  Received received;
  curl_easy_getinfo(handle_, CURLINFO_NUM_CONNECTS, &received.newConnections);
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &received.status);
  curl_easy_getinfo(handle_, CURLINFO_HEADER_SIZE, &received.headerBytes);
  curl_easy_getinfo(handle_, CURLINFO_SIZE_DOWNLOAD_T, &received.bodyBytes);
  return received;
}

bool HttpTransport::DiedUnanswered(CURLcode code) const {
  if (code != CURLE_SEND_ERROR && code != CURLE_RECV_ERROR && code != CURLE_GOT_NOTHING) {
    return false;
  }
  Received received = WhatCameBack();
  return received.newConnections == 0 && received.headerBytes == 0 && received.bodyBytes == 0;
}

bool HttpTransport::HeaderTooLarge(CURLcode code) const {
  // libcurl reports a header line beyond its limit as a memory failure, and the header as a
  // whole beyond its limit as a receive error; both after the status line, before any body.
  if (code != CURLE_OUT_OF_MEMORY && code != CURLE_RECV_ERROR) return false;
  Received received = WhatCameBack();
  if (received.status == 0 || received.bodyBytes != 0) return false;
  return code == CURLE_OUT_OF_MEMORY || received.headerBytes >= kMaxHeaderLineBytes;
}

void HttpTransport::ThrowTransportFailure(CURLcode code) const {
  std::string detail = errorText_[0] != '\0' ? errorText_ : curl_easy_strerror(code);
  // libcurl never sees a password inside a URL, but a password that shows up in its text anyway
  // is blotted out.
  for (const ServiceAddress* address : {&service_, proxy_ ? &*proxy_ : nullptr}) {
    if (address == nullptr || address->password.size() < 4) continue;
    for (size_t at = detail.find(address->password); at != std::string::npos;
         at = detail.find(address->password, at)) {
      detail.replace(at, address->password.size(), "***");
    }
  }
  // A server (or proxy server) that refuses a request may close the connection before it has
  // read the request's body; the status line it sent first is the clearer story.
  long status = 0;
  curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
  if (status >= 400) {
    const char* meaning = status == 407   ? " (the proxy server wants other credentials)"
                          : status == 401 ? " (credentials refused)"
                                          : "";
    throw SOAPException("The server at %s answered HTTP %ld%s and closed the connection: %s",
                        Where().c_str(), status, meaning, detail.c_str());
  }
  if (code == CURLE_OPERATION_TIMEDOUT && timeoutSeconds_ > 0) {
    throw SOAPSocketException("%s %s within the time-out of %ld seconds: %s", FailureKind(code),
                              Where().c_str(), timeoutSeconds_, detail.c_str());
  }
  if (IsTlsFailure(code)) detail += trust_;
  throw SOAPSocketException("%s %s: %s", FailureKind(code), Where().c_str(), detail.c_str());
}

}  // namespace easysoap_internal
