#include "easysoap/soap_debugger.h"

#include <cstdio>
#include <mutex>

namespace {

// The log belongs to the process. The lock keeps a line from one thread whole while another
// writes or switches the file; it costs nothing next to the file write itself.
struct DebugLog {
  std::mutex lock;
  std::FILE* file = nullptr;
  int level = 0;

  // With the lock held.
  void CloseFile() {
    if (file != nullptr) std::fclose(file);
    file = nullptr;
  }
};

DebugLog& Log() {
  // Never destroyed, so that a write from a static destructor elsewhere still finds it.
  static DebugLog* log = new DebugLog();
  return *log;
}

}  // namespace

bool SOAPDebugger::SetFile(const char* path) {
  DebugLog& log = Log();
  std::lock_guard<std::mutex> guard(log.lock);
  log.CloseFile();
  if (path == nullptr || *path == '\0') return false;
  log.file = std::fopen(path, "ab");
  return log.file != nullptr;
}

void SOAPDebugger::SetMessageLevel(int level) {
  DebugLog& log = Log();
  std::lock_guard<std::mutex> guard(log.lock);
  log.level = level;
}

void SOAPDebugger::Close() {
  DebugLog& log = Log();
  std::lock_guard<std::mutex> guard(log.lock);
  log.CloseFile();
}

bool SOAPDebugger::IsLogging(int level) {
  DebugLog& log = Log();
  std::lock_guard<std::mutex> guard(log.lock);
  return log.file != nullptr && level <= log.level;
}

void SOAPDebugger::Write(int level, const char* text, unsigned int length) {
  if (text == nullptr || length == 0) return;
  DebugLog& log = Log();
  std::lock_guard<std::mutex> guard(log.lock);
  if (log.file == nullptr || level > log.level) return;
  std::fwrite(text, 1, length, log.file);
  // Flushed at once: the log is read while the process runs, and must survive a crash.
  std::fflush(log.file);
}
