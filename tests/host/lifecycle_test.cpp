// What the library does at load and unload: the per-thread type namespace block, the module
// handle, and the call log that closes when the library goes.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include "easysoap/soap_debugger.h"
#include "host/type_namespace_buffer.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

// The ELF constructor gave the loading (main) thread its block; null stores the empty text.
TEST(TypeNamespaceBuffer, StoresAtMost1023BytesAndNullAsEmpty) {
  const std::pair<std::string, size_t> cases[] = {
      {"", 0}, {"urn:x", 5}, {std::string(1023, 'a'), 1023}, {std::string(5000, 'c'), 1023}};
  EXPECT_NE(GetTypeNamespace(), nullptr);
  for (const auto& [text, stored] : cases) {
    SCOPED_TRACE(stored);
    SetTypeNamespace(text.c_str());
    ASSERT_NE(GetTypeNamespace(), nullptr);
    EXPECT_EQ(std::string(GetTypeNamespace()), text.substr(0, stored));
  }
  SetTypeNamespace(nullptr);
  EXPECT_STREQ(GetTypeNamespace(), "");
}

// A thread that existed before the library was loaded has no block, gets its own on first use
// and frees it when it ends; the main thread's block is untouched.
TEST(TypeNamespaceBuffer, ThreadWithoutABlockGetsItsOwnOnFirstUse) {
  std::promise<void> loaded;
  DeleteTypeNamespaceSlot();  // as if the library weren't loaded yet
  std::thread early([ready = loaded.get_future()] {
    ready.wait();
    EXPECT_EQ(GetTypeNamespace(), nullptr);
    SetTypeNamespace("urn:early");
    EXPECT_STREQ(GetTypeNamespace(), "urn:early");
  });
  EXPECT_TRUE(CreateTypeNamespaceSlot());
  SetTypeNamespace("urn:main");
  loaded.set_value();
  early.join();
  EXPECT_STREQ(GetTypeNamespace(), "urn:main");
}

// The built library answers its own handle through a marshaler, not the host's.
TEST(ModuleHandle, IsTheLoadAddressOfTheExtensionsOwnLibrary) {
  testhost::Runtime rt;
  rt.DefineProxyClass("svc", {});
  HostObject connection = rt.CreateConnection();
  testhost::Runtime::CreateResult created = rt.CreateInstance(connection, "svc");
  ASSERT_EQ(created.result, 0);
  IHostMarshaler* marshaler = rt.MarshalerOf(created.proxy);
  ASSERT_NE(marshaler, nullptr);
  testhost::ExtensionLibrary library(TSSOAP_EXTENSION_PATH);
  Dl_info loaded{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(library.EntryPoints().getDescription), &loaded),
            0);
  EXPECT_EQ(marshaler->GetModuleHandle(), loaded.dli_fbase);
}

// The log named by soaplog belongs to the process and closes when the library is unloaded.
TEST(CallLogGuard, UnloadingTheLibraryClosesTheLog) {
  std::string path = ::testing::TempDir() + "tssoap_unload_log.txt";
  std::remove(path.c_str());
  {
    testhost::Runtime rt;
    HostObject connection = rt.CreateConnection();
    ASSERT_EQ(rt.SetOptions(connection, ("soaplog='" + path + "'").c_str()), 0);
    SOAPDebugger::Write(1, "open\n", 5);
  }
  ASSERT_EQ(dlopen(TSSOAP_EXTENSION_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr)
      << "the library stayed loaded";
  SOAPDebugger::Write(1, "closed\n", 7);
  std::ifstream file(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "open\n");
  std::remove(path.c_str());
}

}  // namespace
}  // namespace tssoap
