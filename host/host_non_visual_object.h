// HostNonVisualObjectBase: the common base of the extension's host classes (soapconnection,
// soapexception). The host creates an instance through TSX_CreateNonVisualObject, owns it, and
// ends it with Destroy, which deletes it through the virtual destructor. The base keeps every
// exception of a method inside the extension and gives the methods their argument and result
// access.
#pragma once

#include "host/host_interfaces.h"

namespace tssoap {

class HostNonVisualObjectBase : public IHostNonVisualObject {
 public:
  void Destroy() override { delete this; }
  // Runs the method of that number (host/class_description.h); unknown numbers do nothing. Always
  // answers 0: outcomes are in the call's result value. Nothing is thrown.
  int32_t Invoke(IHostSession* session, HostObject object, uint16_t methodNumber,
                 HostCallInfo* info) final;

 protected:
  // One method of the class; may throw, since Invoke catches everything.
  virtual void Run(IHostSession& session, uint16_t methodNumber, HostCallInfo& info) = 0;

  // The text of argument index, or null when the call has no such argument or it carries no
  // string.
  static const char* StringArgument(IHostSession& session, HostCallInfo& info, int16_t index);
  // Writes a long to the call's result value, when there is one.
  static void SetLongResult(HostCallInfo& info, int32_t result);
};

}  // namespace tssoap
