#include "connection/soap_marshaler.h"

#include "call/call_flow.h"
#include "easysoap/soap_proxy.h"
#include "host/library_lifecycle.h"

namespace tssoap {

SoapMarshaler::SoapMarshaler(std::string_view className, std::string_view portName,
                             const ConnectionSettings& settings)
    : className(className), portName(portName), settings(settings) {}

SoapMarshaler::~SoapMarshaler() { delete soapProxy; }

int32_t SoapMarshaler::InvokeRemoteMethod(IHostSession* session, HostObject proxy,
                                          const char* methodDescription, HostCallInfo* info) {
  return tssoap::InvokeRemoteMethod(CallTarget{settings, portName, soapProxy}, session, proxy,
                                    methodDescription, info);
}

HostModuleHandle SoapMarshaler::GetModuleHandle() { return ExtensionModuleHandle(); }

void SoapMarshaler::Destroy() { delete this; }

}  // namespace tssoap
