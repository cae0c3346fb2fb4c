// The folders include one another in one direction only: each may include itself and the folders
// its row lists, never one above it. The test reads the #include lines of every source file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Top to bottom; the same table is in the README.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"connection", {"call", "types", "composite", "host", "easysoap", "support"}},
    {"call", {"types", "composite", "host", "easysoap", "support"}},
    {"types", {"composite", "host", "easysoap", "support"}},
    {"composite", {"host", "easysoap", "support"}},
    {"host", {"easysoap", "support"}},
    {"easysoap", {"support"}},
    {"support", {}},
};

TEST(IncludeRules, EveryFolderIncludesOnlyItselfAndTheFoldersBelowIt) {
  const std::regex include(R"(^\s*#\s*include\s*"([A-Za-z_]+)/)");
  std::vector<std::string> breaches;
  for (const auto& [folder, allowed] : kMayInclude) {
    int files = 0;
    for (const auto& entry :
         fs::recursive_directory_iterator(fs::path(TSSOAP_SOURCE_DIR) / folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".h" && extension != ".cpp") continue;
      ++files;
      std::ifstream file(entry.path());
      std::string line;
      std::smatch match;
      while (std::getline(file, line)) {
        if (!std::regex_search(line, match, include)) continue;
        const std::string target = match[1];
        // Other roots (system and third-party headers, "gtest/...") aren't ours.
        if (target == folder || !kMayInclude.contains(target)) continue;
        if (!allowed.contains(target)) {
          breaches.push_back(fs::relative(entry.path(), TSSOAP_SOURCE_DIR).string() + ": " + line);
        }
      }
    }
    EXPECT_GT(files, 0) << folder << " has no sources where the test looks";
  }
  EXPECT_EQ(breaches, std::vector<std::string>{});
}

}  // namespace
