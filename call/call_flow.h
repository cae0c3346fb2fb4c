// The spine of one proxy call: sets up the library's proxy, splits the method description, runs
// the request walk, Execute and the response walk, and turns every failure into a soapexception
// raised in the host. Nothing is thrown out of it.
#pragma once

#include "call/soap_endpoint.h"
#include "host/host_interfaces.h"

namespace tssoap {

// Performs one proxy call for the marshaler that target stands for; always answers 0.
int32_t InvokeRemoteMethod(const CallTarget& target, IHostSession* session, HostObject proxy,
                           const char* methodDescription, HostCallInfo* info);

}  // namespace tssoap
