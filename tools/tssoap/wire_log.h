// WireLog: shows what went over the wire. It switches the library's process-wide log on with the
// "soaplog" option of a soapconnection (the way a script would), writing to a temporary file, and
// reads the requests and responses back from it. The log is switched off and the file removed
// when the WireLog ends. One at a time: the log belongs to the whole process. When the caller's
// own options have opened a log (soaplog), the WireLog reads that one instead and leaves it be.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "testhost/testhost.h"

namespace tssoap::cli {

class WireLog {
 public:
  // Throws std::runtime_error when no temporary file can be made or setoptions refuses it.
  WireLog(testhost::Runtime& runtime, HostObject connection);
  // Reads the log that the connection's options opened at path, from its present end.
  WireLog(testhost::Runtime& runtime, HostObject connection, std::string path);
  ~WireLog();
  WireLog(const WireLog&) = delete;
  WireLog& operator=(const WireLog&) = delete;

  // The traffic written since the last Take (requests and responses, each headed by its HTTP
  // line), without the extension's own per-call lines.
  std::string Take();
  // Switches the log off; later calls write nothing. Done by the destructor too. A log of the
  // caller's stays on, only no longer read.
  void Stop();
  // The file read.
  const std::string& Path() const { return path_; }

 private:
  testhost::Runtime& runtime_;
  HostObject connection_;
  std::string path_;
  long offset_ = 0;  // what Take has handed out already
  bool logging_ = false;
  bool ownFile_ = true;
};

// The log file that a setoptions text opens (the last "soaplog"), when it names one; the text is
// one that setoptions accepted.
std::optional<std::string> SoapLogOf(std::string_view options);

}  // namespace tssoap::cli
