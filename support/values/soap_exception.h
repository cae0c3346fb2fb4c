// The exceptions of a proxy call. Thrown by value, caught by reference. Their typeinfo lives in
// the library layer, so a throw on one side of the border is caught by type on the other.
#pragma once

#include <cstdarg>

#include "support/values/easysoap_api.h"
#include "support/values/soap_string.h"

class EASYSOAP_API SOAPException {
 public:
  // The message is formed printf-style in a buffer of 2,048 bytes; a longer text is cut.
  explicit SOAPException(const char* format, ...) __attribute__((format(printf, 2, 3)));
  SOAPException(const SOAPException& other) = default;
  SOAPException& operator=(const SOAPException& other) = default;
  virtual ~SOAPException();

  // The message, which may be null (SOAPMemoryException).
  const char* What() const { return message_.Str(); }
  const SOAPString& GetMessage() const { return message_; }

  static constexpr unsigned kMessageLimit = 2048;

 protected:
  // An exception without a message.
  SOAPException() = default;
  // Forms the message from a printf-style format, cut at kMessageLimit bytes.
  void FormatMessage(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));

 private:
  SOAPString message_;
};

// No memory for a growing array; its message is null.
class EASYSOAP_API SOAPMemoryException : public SOAPException {
 public:
  SOAPMemoryException() = default;
  ~SOAPMemoryException() override;
};

// The server answered with a SOAP fault. The text packs the fault's code, string and detail
// between the pseudo-tags <tssp_fcode>, <tssp_fstring> and <tssp_fdetailmessage>.
class EASYSOAP_API SOAPFaultException : public SOAPException {
 public:
  explicit SOAPFaultException(const char* format, ...) __attribute__((format(printf, 2, 3)));
  ~SOAPFaultException() override;
};

// The transport failed: refused, unknown host, time-out, reset, TLS.
class EASYSOAP_API SOAPSocketException : public SOAPException {
 public:
  explicit SOAPSocketException(const char* format, ...) __attribute__((format(printf, 2, 3)));
  ~SOAPSocketException() override;
};
