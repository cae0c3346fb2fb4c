#include "call/call_flow.h"

#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "call/call_log.h"
#include "call/method_description_scanner.h"
#include "call/parameter_walker.h"
#include "call/soap_endpoint.h"
#include "easysoap/soap_method.h"
#include "easysoap/soap_proxy.h"
#include "easysoap/xml_composer.h"
#include "host/proxy_variables.h"
#include "support/text_conversions.h"
#include "support/values/fault_tags.h"
#include "support/values/soap_exception.h"

namespace tssoap {
namespace {

constexpr const char* kAliasMessage = "Unexpected end of alias string in the proxy";
constexpr const char* kOutOfMemoryMessage = "Not enough memory for the SOAP call";
constexpr const char* kUnexpectedMessage = "Unexpected failure in the SOAP call";
constexpr const char* kExceptionClass = "soapexception";
constexpr const char* kTextField = "text";
constexpr const char* kSetDetailsMethod = "setdetails";
constexpr const char* kConnectionCached = "Connection Cached\n";
constexpr const char* kConnectionDisconnected = "Connection Disconnected\n";

// What a failed call has to tell the script.
struct CallState {
  std::string message;  // for the exception's `text`
  std::string details;  // the whole packed fault text, for setdetails; empty for other failures
  bool failed = false;
  bool inExecute = false;  // true exactly while Execute runs: its texts are UTF-8

  void Fail(std::string_view text, std::string_view packedFault = {}) {
    failed = true;
    message = text;
    details = packedFault;
  }
};

// A memory failure carries no text: it is stored as the empty text.
std::string_view TextOf(const SOAPException& failure) {
  return failure.What() != nullptr ? std::string_view(failure.What()) : std::string_view();
}

// Steps of the call up to the response walk; every failure leaves as an exception.
void PerformCall(const CallTarget& target, IHostSession& session, HostObject proxy,
                 const char* methodDescription, HostCallInfo& info, CallState& state) {
  XMLComposer::SetAddWhiteSpace(true);

  // A cached proxy keeps what it was built with: endpoint, credentials, proxy server and style.
  int32_t bindingStyle = kBindingNotStated;
  if (target.soapProxy == nullptr) {
    bindingStyle = BuildSoapProxy(target, session, proxy);
  }

  const MethodDescriptionParts parts =
      SplitMethodDescription(methodDescription != nullptr ? methodDescription : "");
  SOAPMethod method(parts.methodName.c_str(), parts.methodNamespace.c_str(),
                    parts.SoapActionArgument(), false);
  method.SetSoapElementName(parts.soapElementName.c_str(), parts.soapElementNamespace.c_str());
  method.bindingStyle = bindingStyle;

  ParameterWalker walker(proxy, session);
  walker.WalkRequest(method, info, parts.parameterText);

  state.inExecute = true;
  const SOAPResponse& response = target.soapProxy->Execute(method);
  state.inExecute = false;

  walker.WalkResponse(response.GetMethod(), info, parts.parameterText);
}

// The protected region: whatever happens on the way is kept as texts in state.
void RunProtected(const CallTarget& target, IHostSession& session, HostObject proxy,
                  const char* methodDescription, HostCallInfo& info, CallState& state) {
  try {
    PerformCall(target, session, proxy, methodDescription, info, state);
  } catch (const SOAPFaultException& fault) {
    const std::string_view packed = TextOf(fault);
    state.Fail(FaultPart(packed, kFaultStringOpen, kFaultStringClose), packed);
  } catch (const SOAPSocketException& failure) {
    state.Fail(TextOf(failure));
  } catch (const SOAPException& failure) {
    state.Fail(TextOf(failure));
  } catch (const SoapScannerException&) {
    state.Fail(kAliasMessage);
  } catch (const std::bad_alloc&) {
    state.Fail(kOutOfMemoryMessage);
  } catch (...) {
    // Nothing may cross into the host, whatever its type.
    state.Fail(kUnexpectedMessage);
  }
}

// The library's texts are UTF-8; the host's are in its code page. A text that has no form there
// is passed on as it came rather than lost.
std::string ToHostText(const std::string& utf8) {
  std::optional<std::string> converted = Utf8ToHostText(utf8.c_str());
  return converted.has_value() ? std::move(*converted) : utf8;
}

// Hands the whole fault text to the new exception's setdetails.
void CallSetDetails(IHostSession& session, HostClass cls, HostObject exception,
                    const std::string& details) {
  const HostMethodId method = session.GetMethodId(cls, kSetDetailsMethod, 0, "", 0);
  HostCallInfo call{};
  session.InitCallInfo(cls, method, &call);
  IHostValue* argument = nullptr;
  if (call.arguments != nullptr && call.arguments->GetCount() > 0) {
    argument = call.arguments->GetAt(0);
  }
  if (argument != nullptr && argument->IsNull() == 0) argument->SetStringText(details.c_str());
  session.InvokeObjectFunction(exception, method, &call);
  session.FreeCallInfo(&call);
}

// Creates a soapexception holding the texts of state and makes it the script's pending exception.
void RaiseHostException(IHostSession& session, const CallState& state) {
  const HostGroup group = session.FindGroup(kExceptionClass, kGroupException);
  const HostClass cls = session.FindClass(group, kExceptionClass);
  if (cls == 0) return;
  const HostObject exception = session.NewObject(cls);
  if (exception == 0) return;
  const HostFieldId textField = session.GetFieldId(cls, kTextField);

  if (state.inExecute) {
    const std::string message = ToHostText(state.message);
    if (textField != kNoField) session.SetStringFieldText(exception, textField, message.c_str());
    if (!state.details.empty()) CallSetDetails(session, cls, exception, ToHostText(state.details));
  } else {
    // The extension's own texts, and the names and types in them, go to the host unchanged.
    if (textField != kNoField) {
      session.SetStringFieldText(exception, textField, state.message.c_str());
    }
  }
  session.ThrowException(exception);
}

// Keeps or ends the library's proxy, and says which in the log: also after a failed call.
void FinishConnection(const CallTarget& target) {
  if (target.settings.connectionCache) {
    WriteCallLogLine(kConnectionCached);
    return;
  }
  DeleteSOAPProxy(target.soapProxy);
  target.soapProxy = nullptr;
  WriteCallLogLine(kConnectionDisconnected);
}

}  // namespace

int32_t InvokeRemoteMethod(const CallTarget& target, IHostSession* session, HostObject proxy,
                           const char* methodDescription, HostCallInfo* info) {
  if (session == nullptr) return 0;
  HostCallInfo noCall{};
  HostCallInfo& call = info != nullptr ? *info : noCall;
  CallState state;
  try {
    RunProtected(target, *session, proxy, methodDescription, call, state);
  } catch (...) {
    // Only a memory failure while a failure is being recorded gets here.
    state.failed = true;
  }
  try {
    FinishConnection(target);
  } catch (...) {
  }
  if (state.failed) {
    try {
      RaiseHostException(*session, state);
    } catch (...) {
      // Out of memory while converting the texts: the host must not see the exception.
    }
  }
  return 0;
}

}  // namespace tssoap
