// WireLog: shows what went over the wire. It switches the library's process-wide log on with the
// "soaplog" option of a soapconnection (the way a script would), writing to a temporary file, and
// reads the requests and responses back from it. The log is switched off and the file removed
// when the WireLog ends. One at a time: the log belongs to the whole process.
#pragma once

#include <string>

#include "testhost/testhost.h"

namespace tssoap::cli {

class WireLog {
 public:
  // Throws std::runtime_error when no temporary file can be made or setoptions refuses it.
  WireLog(testhost::Runtime& runtime, HostObject connection);
  ~WireLog();
  WireLog(const WireLog&) = delete;
  WireLog& operator=(const WireLog&) = delete;

  // The traffic written since the last Take (requests and responses, each headed by its HTTP
  // line), without the extension's own per-call lines.
  std::string Take();
  // Switches the log off; later calls write nothing. Done by the destructor too.
  void Stop();

 private:
  testhost::Runtime& runtime_;
  HostObject connection_;
  std::string path_;
  long offset_ = 0;  // what Take has handed out already
  bool logging_ = false;
};

}  // namespace tssoap::cli
