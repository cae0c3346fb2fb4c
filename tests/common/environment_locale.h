// Tests that depend on the host's code page set the environment's locale for their own span.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

namespace tssoap::test {

// The environment's locale (the host's code page) is `name` for a test; put back afterwards.
struct EnvironmentLocale {
  explicit EnvironmentLocale(const char* name)
      : saved(std::getenv("LC_ALL") != nullptr ? std::getenv("LC_ALL") : ""),
        available(setenv("LC_ALL", name, 1) == 0 && std::setlocale(LC_ALL, "") != nullptr) {}
  ~EnvironmentLocale() {
    saved.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", saved.c_str(), 1);
    std::setlocale(LC_ALL, "C");
  }
  EnvironmentLocale(const EnvironmentLocale&) = delete;
  EnvironmentLocale& operator=(const EnvironmentLocale&) = delete;

  const std::string saved;
  const bool available;
};

}  // namespace tssoap::test
