#include "host/entry_points.h"

#include <cstring>
#include <new>

#include "connection/soap_connection.h"
#include "connection/soap_exception_object.h"
#include "host/class_description.h"

namespace {

// No exception may cross into the host: a failed allocation gives a null instance.
template <typename T>
IHostNonVisualObject* NewInstance() noexcept {
  try {
    return new T();
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

const char* TSX_GetDescription() { return tssoap::kClassDescription; }

int32_t TSX_CreateNonVisualObject(IHostSession*, HostObject, const char* className,
                                  IHostNonVisualObject** result) {
  if (className == nullptr || result == nullptr) return 0;
  if (std::strcmp(className, tssoap::kSoapExceptionClassName) == 0) {
    *result = NewInstance<tssoap::SoapException>();
  } else if (std::strcmp(className, tssoap::kSoapConnectionClassName) == 0) {
    *result = NewInstance<tssoap::SoapConnection>();
  }
  return 0;
}
