// Programs a test starts (see tools/process/child_process.h), and the bundled gSOAP sample
// service started on an ephemeral port.
#pragma once

#include <string>

#include "tools/process/child_process.h"

namespace tssoap::test {

using process::ChildProcess;
using process::ServerProcess;

// The path of the built sample service.
std::string SampleServicePath();

// The sample service on an ephemeral port.
ServerProcess StartSampleService();
// One sample service for the whole test program, started on first use and ended with the program
// (it also ends when its stdin pipe closes).
ServerProcess& SharedSampleService();
// The method description of a sample operation:
// "<head>@urn:tssoap-sample@urn:tssoap-sample#<the head up to its "(">".
std::string SampleOperation(const std::string& head);

// The sample service's namespace and the SOAP encoding namespaces, for building requests.
inline constexpr const char* kSampleNamespace = "urn:tssoap-sample";
inline constexpr const char* kXsdNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXsiNamespace = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr const char* kSoapEncodingNamespace = "http://schemas.xmlsoap.org/soap/encoding/";

}  // namespace tssoap::test
