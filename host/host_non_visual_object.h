// HostNonVisualObjectBase: the common base of the extension's host classes (soapconnection,
// soapexception). The host creates an instance through TSX_CreateNonVisualObject, owns it, and
// ends it with Destroy, which deletes it through the virtual destructor.
#pragma once

#include "host/host_interfaces.h"

namespace tssoap {

class HostNonVisualObjectBase : public IHostNonVisualObject {
 public:
  void Destroy() override { delete this; }
};

}  // namespace tssoap
