#include "support/values/soap_exception.h"

#include <cstdio>

void SOAPException::FormatMessage(const char* format, va_list arguments) {
  char text[kMessageLimit];
  std::vsnprintf(text, sizeof text, format, arguments);
  message_.Assign(text);
}

SOAPException::SOAPException(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FormatMessage(format, arguments);
  va_end(arguments);
}

SOAPFaultException::SOAPFaultException(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FormatMessage(format, arguments);
  va_end(arguments);
}

SOAPSocketException::SOAPSocketException(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FormatMessage(format, arguments);
  va_end(arguments);
}

SOAPException::~SOAPException() = default;
SOAPMemoryException::~SOAPMemoryException() = default;
SOAPFaultException::~SOAPFaultException() = default;
SOAPSocketException::~SOAPSocketException() = default;
