// The two exported entry points, seen as the runtime sees them: through dlopen of the built
// library and nothing else.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

#include "testhost/testhost.h"

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

// The library as the runtime loads it: dlopen and the two entry points, nothing else.
class EntryPointsTest : public ::testing::Test {
 protected:
  testhost::ExtensionLibrary library{TSSOAP_EXTENSION_PATH};
  TSX_GetDescriptionFn describe = library.EntryPoints().getDescription;
  TSX_CreateNonVisualObjectFn create = library.EntryPoints().createNonVisualObject;
};

TEST_F(EntryPointsTest, DescriptionIsTheClassTextByteForByteOnEveryCall) {
  const char* first = describe();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(std::string(first), kExpectedDescription);
  EXPECT_EQ(describe(), first);
}

TEST_F(EntryPointsTest, OnlyTheExactClassNamesCreateAnInstance) {
  const std::pair<const char*, bool> cases[] = {
      {"soapexception", true},    {"soapconnection", true},
      {"SoapConnection", false},  {"", false},
      {"soapconnection ", false}, {"soapconnectio", false},
      {"soapexceptions", false},  {"nonvisualobject", false},
      {nullptr, false},
  };
  auto* const untouched = reinterpret_cast<IHostNonVisualObject*>(uintptr_t{0x5EED});
  for (const auto& [name, creates] : cases) {
    SCOPED_TRACE(name != nullptr ? name : "(null)");
    IHostNonVisualObject* result = untouched;
    EXPECT_EQ(create(nullptr, 42, name, &result), 0);
    bool created = result != untouched && result != nullptr;
    EXPECT_EQ(created, creates);
    if (created) result->Destroy();
  }
}

// Everything else is hidden: the library exports the two entry points and nothing of its own
// (version definitions, type A, are no symbols of ours).
TEST_F(EntryPointsTest, LibraryExportsOnlyTheTwoEntryPoints) {
  std::string command = std::string("nm -D --defined-only ") + TSSOAP_EXTENSION_PATH;
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> exported;
  char address[64], type[8], name[256];
  while (std::fscanf(pipe.get(), "%63s %7s %255s", address, type, name) == 3) {
    if (std::string(type) != "A") exported.insert(name);
  }
  EXPECT_EQ(exported, (std::set<std::string>{"TSX_CreateNonVisualObject", "TSX_GetDescription"}));
}

}  // namespace
