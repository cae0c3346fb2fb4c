// The spine of one proxy call: sets up the library's proxy, splits the method description, runs
// the request walk, Execute and the response walk, and turns every failure into a soapexception
// raised in the host. Nothing is thrown out of it.
#pragma once

#include "host/host_interfaces.h"

namespace tssoap {

class SoapMarshaler;

// Performs one proxy call for marshaler; always answers 0.
int32_t InvokeRemoteMethod(SoapMarshaler& marshaler, IHostSession* session, HostObject proxy,
                           const char* methodDescription, HostCallInfo* info);

}  // namespace tssoap
