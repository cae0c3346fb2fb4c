// The call log: the library's process-wide log file, switched on by the option "soaplog". The
// extension writes one line per call at level 1, with no time stamp and no prefix.
#pragma once

namespace tssoap {

inline constexpr int kCallLogLevel = 1;
inline constexpr int kSoapLogLevel = 1000;

// Closes any open log, opens path, and sets the level to 1000. An empty path goes the same way.
void SetLogFile(const char* path);
// Writes text unchanged at level 1; harmless when no log is open.
void WriteCallLogLine(const char* text);

}  // namespace tssoap
