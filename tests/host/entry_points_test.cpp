// The two exported entry points, seen as the runtime sees them: through dlopen of the built
// library and nothing else.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "host/host_interfaces.h"

namespace {

// Written out here independently of the extension's constant, line by line.
const char kExpectedDescription[] =
    "class soapexception from runtimeerror\n"
    "function string getFaultCode()\n"
    "function string getFaultString()\n"
    "function string getDetailMessage()\n"
    "function string SetDetails(string details)\n"
    "end class\n"
    "class soapconnection from nonvisualobject\n"
    "function string generateproxy(string wsdl, string servicename)\n"
    "function long createinstance(ref tessobject obj, string proxyname, string portname)\n"
    "function long createinstance(ref tessobject obj, string proxyname)\n"
    "function long setoptions(string options)\n"
    "function long setproxyserveroptions(string proxyoptions)\n"
    "end class\n";

class EntryPointsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    library = dlopen(TSSOAP_EXTENSION_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    describe = reinterpret_cast<TSX_GetDescriptionFn>(dlsym(library, "TSX_GetDescription"));
    create =
        reinterpret_cast<TSX_CreateNonVisualObjectFn>(dlsym(library, "TSX_CreateNonVisualObject"));
    ASSERT_NE(describe, nullptr);
    ASSERT_NE(create, nullptr);
  }
  void TearDown() override {
    if (library != nullptr) dlclose(library);
  }

  void* library = nullptr;
  TSX_GetDescriptionFn describe = nullptr;
  TSX_CreateNonVisualObjectFn create = nullptr;
};

TEST_F(EntryPointsTest, DescriptionIsTheClassTextByteForByteOnEveryCall) {
  const char* first = describe();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(std::string(first), kExpectedDescription);
  EXPECT_EQ(std::strlen(first), sizeof kExpectedDescription - 1);
  const char* second = describe();
  EXPECT_EQ(second, first);
  EXPECT_EQ(std::string(second), kExpectedDescription);
}

TEST_F(EntryPointsTest, OnlyTheExactClassNamesCreateAnInstance) {
  struct Case {
    const char* name;
    bool creates;
  };
  const Case cases[] = {
      {"soapexception", true},
      {"soapconnection", true},
      {"SoapConnection", false},
      {"SOAPEXCEPTION", false},
      {"", false},
      {"soapconnection ", false},
      {" soapconnection", false},
      {"soapconnectio", false},
      {"soapexceptions", false},
      {"runtimeerror", false},
      {"nonvisualobject", false},
      {nullptr, false},
  };
  auto* const untouched = reinterpret_cast<IHostNonVisualObject*>(uintptr_t{0x5EED});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name != nullptr ? c.name : "(null)");
    IHostNonVisualObject* result = untouched;
    EXPECT_EQ(create(nullptr, 42, c.name, &result), 0);
    if (c.creates) {
      ASSERT_NE(result, untouched);
      ASSERT_NE(result, nullptr);
      result->Destroy();
    } else {
      EXPECT_EQ(result, untouched);
    }
  }
}

// Everything else is hidden: the library exports the two entry points and nothing of its own.
TEST_F(EntryPointsTest, LibraryExportsOnlyTheTwoEntryPoints) {
  std::string command = std::string("nm -D --defined-only ") + TSSOAP_EXTENSION_PATH + " 2>&1";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
  ASSERT_NE(pipe, nullptr);
  std::string output;
  char buffer[512];
  while (std::fgets(buffer, sizeof buffer, pipe.get()) != nullptr) output += buffer;
  std::set<std::string> exported;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string address, type, name;
    if (!(words >> address >> type >> name)) continue;
    // Version definitions (type A) are no symbols of ours.
    if (type == "A") continue;
    exported.insert(name);
  }
  EXPECT_EQ(exported, (std::set<std::string>{"TSX_CreateNonVisualObject", "TSX_GetDescription"}))
      << output;
}

}  // namespace
