// Loading the extension the way the runtime does: dlopen and the two exported entry points.
#include <dlfcn.h>

#include <stdexcept>

#include "testhost/testhost.h"

namespace testhost {

ExtensionLibrary::ExtensionLibrary(const std::string& path) {
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    const char* cause = dlerror();
    throw std::runtime_error("cannot load " + path + ": " + (cause != nullptr ? cause : "?"));
  }
  entryPoints_.getDescription =
      reinterpret_cast<TSX_GetDescriptionFn>(dlsym(handle_, "TSX_GetDescription"));
  entryPoints_.createNonVisualObject =
      reinterpret_cast<TSX_CreateNonVisualObjectFn>(dlsym(handle_, "TSX_CreateNonVisualObject"));
  if (entryPoints_.getDescription == nullptr || entryPoints_.createNonVisualObject == nullptr) {
    dlclose(handle_);
    handle_ = nullptr;
    throw std::runtime_error(path + " lacks TSX_GetDescription or TSX_CreateNonVisualObject");
  }
}

ExtensionLibrary::~ExtensionLibrary() {
  if (handle_ != nullptr) dlclose(handle_);
}

std::string DefaultExtensionPath() { return TSSOAP_EXTENSION_PATH; }

}  // namespace testhost
