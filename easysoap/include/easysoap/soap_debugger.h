// SOAPDebugger: the process-wide diagnostic log. Safe to call with no file open: Write then does
// nothing. A message goes out when its level is at most the level set by SetMessageLevel.
// The library writes each request and response at level kTraffic (never a password).
#pragma once

#include "support/values/easysoap_api.h"

class EASYSOAP_API SOAPDebugger {
 public:
  static constexpr int kTraffic = 10;

  // Opens path (appending) as the log, closing any earlier one; false when it can't be opened.
  static bool SetFile(const char* path);
  static void SetMessageLevel(int level);
  // Closes the log; does nothing when none is open.
  static void Close();
  // Writes length bytes of text unchanged, nothing else.
  static void Write(int level, const char* text, unsigned int length);
  // True when a message at level would reach an open file, so that callers can skip forming
  // large texts (the traffic of a call) that would go nowhere.
  static bool IsLogging(int level);
};
