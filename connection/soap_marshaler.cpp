#include "connection/soap_marshaler.h"

#include "call/call_flow.h"
#include "easysoap/soap_proxy.h"
#include "host/library_lifecycle.h"

namespace tssoap {

SoapMarshaler::SoapMarshaler(std::string_view className, std::string_view portName,
                             const ConnectionSettings& settings)
    : className(className),
      portName(portName),
      userId(settings.userId),
      password(settings.password),
      timeout(settings.timeout),
      connectionCache(settings.connectionCache),
      proxyScheme(settings.proxyScheme),
      proxyHost(settings.proxyHost),
      proxyPort(settings.proxyPort),
      proxyPath(settings.proxyPath),
      proxyUserId(settings.proxyUserId),
      proxyPassword(settings.proxyPassword) {}

SoapMarshaler::~SoapMarshaler() { delete soapProxy; }

int32_t SoapMarshaler::InvokeRemoteMethod(IHostSession* session, HostObject proxy,
                                          const char* methodDescription, HostCallInfo* info) {
  return tssoap::InvokeRemoteMethod(*this, session, proxy, methodDescription, info);
}

HostModuleHandle SoapMarshaler::GetModuleHandle() { return ExtensionModuleHandle(); }

void SoapMarshaler::Destroy() { delete this; }

}  // namespace tssoap
