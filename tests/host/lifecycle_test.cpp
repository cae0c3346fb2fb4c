// What the library does at load and unload: the per-thread type namespace block, the module
// handle, and the call log that closes when the library goes.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

#include "easysoap/soap_debugger.h"
#include "host/entry_points.h"
#include "host/library_lifecycle.h"
#include "host/type_namespace_buffer.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

TEST(TypeNamespaceBuffer, LoadingThreadHasItsBlockFromTheStart) {
  // The ELF constructor gave the loading (main) thread a zeroed block.
  EXPECT_NE(GetTypeNamespace(), nullptr);
}

TEST(TypeNamespaceBuffer, StoresAtMost1023BytesAndNullAsEmpty) {
  struct Case {
    std::string text;
    size_t stored;
  };
  const Case cases[] = {
      {"", 0},
      {"urn:x", 5},
      {std::string(1023, 'a'), 1023},
      {std::string(1024, 'b'), 1023},
      {std::string(5000, 'c'), 1023},
  };
  for (const Case& c : cases) {
    SetTypeNamespace(c.text.c_str());
    ASSERT_NE(GetTypeNamespace(), nullptr);
    EXPECT_EQ(std::string(GetTypeNamespace()), c.text.substr(0, c.stored));
  }
  SetTypeNamespace("urn:before");
  SetTypeNamespace(nullptr);
  EXPECT_STREQ(GetTypeNamespace(), "");
}

TEST(TypeNamespaceBuffer, ThreadStartedLaterGetsItsOwnBlockOnFirstUse) {
  SetTypeNamespace("urn:main");
  std::thread worker([] {
    EXPECT_EQ(GetTypeNamespace(), nullptr);
    SetTypeNamespace("urn:worker");
    EXPECT_STREQ(GetTypeNamespace(), "urn:worker");
  });
  worker.join();
  // The worker freed its own block when it ended; the main thread's is untouched.
  EXPECT_STREQ(GetTypeNamespace(), "urn:main");
}

// A thread that existed before the library was loaded has no block and must not fail.
TEST(TypeNamespaceBuffer, ThreadThatPredatesTheLoadGetsABlockOnFirstUse) {
  std::mutex lock;
  std::condition_variable changed;
  bool loaded = false;
  DeleteTypeNamespaceSlot();  // as if the library weren't loaded yet
  std::thread early([&] {
    std::unique_lock<std::mutex> hold(lock);
    changed.wait(hold, [&] { return loaded; });
    EXPECT_EQ(GetTypeNamespace(), nullptr);
    SetTypeNamespace("urn:early");
    EXPECT_STREQ(GetTypeNamespace(), "urn:early");
  });
  ASSERT_TRUE(CreateTypeNamespaceSlot());
  {
    std::lock_guard<std::mutex> hold(lock);
    loaded = true;
  }
  changed.notify_all();
  early.join();
  ASSERT_NE(GetTypeNamespace(), nullptr);
  EXPECT_STREQ(GetTypeNamespace(), "");
}

TEST(ModuleHandle, IsTheLoadAddressOfTheExtensionsOwnLibrary) {
  Dl_info self{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(&TSX_GetDescription), &self), 0);
  EXPECT_EQ(ExtensionModuleHandle(), self.dli_fbase);

  // The built library answers its own handle through a marshaler, not the host's.
  testhost::Runtime rt;
  rt.DefineProxyClass("svc", {});
  HostObject connection = rt.CreateConnection();
  testhost::Runtime::CreateResult created = rt.CreateInstance(connection, "svc");
  ASSERT_EQ(created.result, 0);
  IHostMarshaler* marshaler = rt.MarshalerOf(created.proxy);
  ASSERT_NE(marshaler, nullptr);
  void* library = dlopen(TSSOAP_EXTENSION_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr);
  Dl_info loaded{};
  ASSERT_NE(dladdr(dlsym(library, "TSX_GetDescription"), &loaded), 0);
  dlclose(library);
  EXPECT_EQ(marshaler->GetModuleHandle(), loaded.dli_fbase);
  EXPECT_NE(marshaler->GetModuleHandle(), self.dli_fbase);
}

std::string FileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
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
  EXPECT_EQ(FileText(path), "open\n");
  std::remove(path.c_str());
}

}  // namespace
}  // namespace tssoap
