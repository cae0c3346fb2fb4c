// ReadCappedFile: the whole of a file the tool reads (a proxy file, a WSDL), refused beyond a
// size that no such file reaches, with messages that say what the file was meant to be.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace tssoap::cli {

// Throws Error("PATH: can't open the WHAT: reason"), "PATH: larger than 16 MiB, which is no
// WHAT" (for a limit of 16 MiB) or "PATH: can't read the WHAT: reason".
template <typename Error>
std::string ReadCappedFile(const std::string& path, size_t maxBytes, const std::string& what) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) throw Error(path + ": can't open the " + what + ": " + std::strerror(errno));
  std::string text;
  char buffer[65536];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) {
    text.append(buffer, got);
    if (text.size() > maxBytes) {
      throw Error(path + ": larger than " + std::to_string(maxBytes >> 20) + " MiB, which is no " +
                  what);
    }
  }
  if (std::ferror(file.get())) {
    throw Error(path + ": can't read the " + what + ": " + std::strerror(errno));
  }
  return text;
}

}  // namespace tssoap::cli
