#include "easysoap/soap_proxy.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "easysoap/soap_debugger.h"
#include "easysoap/soap_parser.h"
#include "easysoap/src/http_transport.h"
#include "easysoap/src/service_address.h"
#include "easysoap/xml_composer.h"
#include "support/values/soap_exception.h"

using easysoap_internal::HttpAnswer;
using easysoap_internal::HttpTransport;
using easysoap_internal::ParseServiceAddress;
using easysoap_internal::ServiceAddress;

static_assert(SOAPProxy::kConnectTimeoutSeconds == HttpTransport::kConnectTimeoutSeconds);

namespace {

std::optional<ServiceAddress> ProxyServer(const char* proxyAddress) {
  if (proxyAddress == nullptr) return std::nullopt;
  for (const char* p = proxyAddress; *p != '\0'; ++p) {
    if (*p != ' ' && *p != '\t') return ParseServiceAddress(proxyAddress, "proxy server");
  }
  return std::nullopt;
}

bool IsSuccess(long status) { return status >= 200 && status < 300; }

// The first bytes of an answer that isn't SOAP, printable, so that an HTML error page or a
// stray text shows what it is. The bytes are kept as they arrive (a few, copied at once) and made
// printable only for a message.
class Beginning {
 public:
  void Clear() {
    kept_.clear();
    bytes_ = 0;
  }
  void Add(const char* data, size_t size) {
    bytes_ += size;
    if (kept_.size() < kKept) kept_.append(data, std::min(size, kKept - kept_.size()));
  }
  // Whether more of the answer would change nothing.
  bool Complete() const { return kept_.size() >= kKept && bytes_ > kKept; }
  std::string Text() const {
    std::string shown;
    for (size_t i = 0; i < kept_.size() && shown.size() < kShown; ++i) {
      unsigned char c = static_cast<unsigned char>(kept_[i]);
      if (c == '\r' || c == '\n' || c == '\t') {
        if (!shown.empty() && shown.back() != ' ') shown.push_back(' ');
      } else {
        shown.push_back(c >= 0x20 && c < 0x7F ? static_cast<char>(c) : '?');
      }
    }
    if (bytes_ > shown.size()) shown.append("...");
    return shown;
  }

 private:
  static constexpr size_t kShown = 160;
  static constexpr size_t kKept = 1024;  // enough for kShown but after a long run of line breaks
  std::string kept_;
  uint64_t bytes_ = 0;
};

// Each request and answer go to the log at the traffic level: the address without its user part,
// the action, the status and the body, never a header (Authorization stays out).
void LogRequest(const std::string& url, const SOAPString& action, const std::string& body) {
  std::string entry = "POST " + url;
  entry.append(action.IsNull() ? " (no SOAPAction)"
                               : " (SOAPAction \"" + std::string(action.CStr()) + "\")");
  entry.append("\n").append(body).append("\n");
  SOAPDebugger::Write(SOAPDebugger::kTraffic, entry.data(),
                      static_cast<unsigned int>(entry.size()));
}

void LogAnswer(const HttpAnswer& answer, const std::string& body) {
  std::string entry = "HTTP " + std::to_string(answer.status) + " " + answer.contentType + "\n";
  entry.append(body).append("\n");
  SOAPDebugger::Write(SOAPDebugger::kTraffic, entry.data(),
                      static_cast<unsigned int>(entry.size()));
}

}  // namespace

// The answer is parsed as it arrives, so that the whole body is never held besides its tree.
struct SOAPProxy::Impl final : private easysoap_internal::AnswerReader {
  Impl(ServiceAddress service, std::optional<ServiceAddress> proxy, long timeout, int style)
      : transport(std::move(service), std::move(proxy), timeout, SOAPParser::Limits().maxBytes),
        timeoutSeconds(timeout < 0 ? 0 : timeout),
        bindingStyle(style) {}

  void Execute(const SOAPMethod& method);
  bool Receive(const HttpAnswer& received, const char* data, size_t size) noexcept override;
  // Throws what the failure of reading the answer means to the caller.
  [[noreturn]] void Refuse();

  HttpTransport transport;
  long timeoutSeconds;  // for the whole call, reading the answer included; 0 for none
  int bindingStyle;
  SOAPResponse response;
  std::string request;  // buffers kept from call to call
  HttpAnswer answer;
  SOAPParser parser;  // its expat parser too

  // The answer being received.
  SOAPParser::Limits limits;
  bool logging = false;
  std::string body;  // all of it, for the traffic log only
  Beginning beginning;
  bool reading = false;        // the parser has begun it
  std::exception_ptr failure;  // why it can't be read, once that is known
};

void SOAPProxy::Impl::Execute(const SOAPMethod& method) {
  SOAPParser::Clock::time_point started = SOAPParser::Clock::now();
  response.Reset();
  int style =
      method.bindingStyle != XMLComposer::kUnstatedStyle ? method.bindingStyle : bindingStyle;
  XMLComposer::ComposeRequest(method, style, request);

  const SOAPString& action = method.GetSoapAction();
  logging = SOAPDebugger::IsLogging(SOAPDebugger::kTraffic);
  if (logging) LogRequest(transport.Service().url, action, request);
  limits = SOAPParser::Limits();
  // A time-out beyond what the clock can count (centuries) is no deadline.
  auto countable = std::chrono::duration_cast<std::chrono::seconds>(
      SOAPParser::Clock::time_point::max() - started);
  if (timeoutSeconds > 0 && timeoutSeconds < countable.count()) {
    limits.deadline = started + std::chrono::seconds(timeoutSeconds);
  }
  body.clear();
  beginning.Clear();
  reading = false;
  failure = nullptr;
  try {
    transport.Post(request, action, answer, *this);
  } catch (...) {
    parser.Abandon();
    response.Reset();                                   // what was read before the transfer failed
    if (failure && IsSuccess(answer.status)) Refuse();  // refused before the transfer failed
    throw;
  }
  if (logging) {
    LogAnswer(answer, body);
    if (body.capacity() > SOAPParser::kKeptParserBytes) std::string().swap(body);
  }
  if (failure) Refuse();
  if (answer.bodyBytes == 0) {
    // "Accepted" and "No Content" are how a server answers a call that has no answer.
    if (answer.status == 202 || answer.status == 204) return;
    throw SOAPException("The server at %s answered HTTP %ld with no SOAP message (empty body)",
                        transport.Where().c_str(), answer.status);
  }
  try {
    parser.Finish();
  } catch (...) {
    failure = std::current_exception();
    Refuse();
  }
  if (!IsSuccess(answer.status)) {
    response.Reset();
    throw SOAPException("The server at %s answered HTTP %ld with a SOAP message that is no fault",
                        transport.Where().c_str(), answer.status);
  }
}

bool SOAPProxy::Impl::Receive(const HttpAnswer& received, const char* data, size_t size) noexcept {
  try {
    beginning.Add(data, size);
    if (logging) body.append(data, size);
    if (!failure) {
      if (!reading) {
        reading = true;
        parser.Begin(received.charset.empty() ? nullptr : received.charset.c_str(), response,
                     limits);
      }
      parser.Feed(data, size);
    }
  } catch (...) {
    if (failure) return false;
    failure = std::current_exception();
  }
  // A refused answer is read on only as far as the log and the message need it. One with an error
  // status is read to its end: a server (or proxy server) that refuses a request may close the
  // connection before it has read the request, and the transfer's failure tells that best.
  return !failure || logging || !beginning.Complete() || !IsSuccess(received.status);
}

void SOAPProxy::Impl::Refuse() {
  std::string where = transport.Where();
  const char* contentType = answer.contentType.empty() ? "none" : answer.contentType.c_str();
  try {
    std::rethrow_exception(failure);
  } catch (const SOAPFaultException&) {
    throw;  // a fault is the server's answer, whatever the HTTP status
  } catch (const SOAPMemoryException&) {
    throw;
  } catch (const SOAPSocketException& e) {
    // The time-out ran out while the answer was read: the same failure as during the transfer.
    response.Reset();
    throw SOAPSocketException("Timed out waiting for %s within the time-out of %ld seconds: %s",
                              where.c_str(), timeoutSeconds, e.What());
  } catch (const SOAPException& e) {
    response.Reset();
    if (IsSuccess(answer.status)) {
      throw SOAPException(
          "The answer from %s (HTTP %ld, Content-Type %s) is not a usable SOAP "
          "message: %s. It begins: %s",
          where.c_str(), answer.status, contentType, e.What(), beginning.Text().c_str());
    }
    throw SOAPException(
        "The server at %s answered HTTP %ld without a SOAP fault "
        "(Content-Type %s): %s. It begins: %s",
        where.c_str(), answer.status, contentType, e.What(), beginning.Text().c_str());
  }
}

SOAPProxy::SOAPProxy(const char* address, const char* proxyAddress, long timeout,
                     int bindingStyle) {
  try {
    impl_ = std::make_unique<Impl>(ParseServiceAddress(address, "service"),
                                   ProxyServer(proxyAddress), timeout, bindingStyle);
  } catch (const SOAPException&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw SOAPMemoryException();
  } catch (const std::exception& e) {
    throw SOAPException("Can't set up the connection: %s", e.what());
  }
}

SOAPProxy::~SOAPProxy() = default;

const SOAPResponse& SOAPProxy::Execute(const SOAPMethod& method) {
  try {
    impl_->Execute(method);
  } catch (const SOAPException&) {
    throw;
  } catch (const std::bad_alloc&) {
    impl_->response.Reset();
    throw SOAPMemoryException();
  } catch (const std::exception& e) {
    impl_->response.Reset();
    throw SOAPException("The SOAP call failed: %s", e.what());
  }
  return impl_->response;
}

SOAPProxy* InitSOAPProxy(const char* address, long timeout, int bindingStyle) {
  return InitSOAPProxyEx(address, nullptr, timeout, bindingStyle);
}

SOAPProxy* InitSOAPProxyEx(const char* address, const char* proxyAddress, long timeout,
                           int bindingStyle) {
  try {
    return new SOAPProxy(address, proxyAddress, timeout, bindingStyle);
  } catch (const std::bad_alloc&) {
    throw SOAPMemoryException();
  }
}

void DeleteSOAPProxy(SOAPProxy* proxy) { delete proxy; }
