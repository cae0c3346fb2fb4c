#include "call/call_log.h"

#include <cstring>

#include "easysoap/soap_debugger.h"

namespace tssoap {

void SetLogFile(const char* path) {
  // A second "soaplog" takes over from the first: the earlier file is closed, never kept open.
  SOAPDebugger::Close();
  // Whether the file opened isn't looked at: a log that can't be written must not fail a call.
  SOAPDebugger::SetFile(path != nullptr ? path : "");
  SOAPDebugger::SetMessageLevel(kSoapLogLevel);
}

void WriteCallLogLine(const char* text) {
  if (text == nullptr) return;
  SOAPDebugger::Write(kCallLogLevel, text, static_cast<unsigned int>(std::strlen(text)));
}

}  // namespace tssoap
