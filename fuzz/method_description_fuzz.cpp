// libFuzzer target for method descriptions: the input is one description as a proxy class writes
// it. It is split into its parts, its parameter text is read to the end by both scanners, and the
// request and response walks run over it in the reference host, with four arguments of different
// kinds and a response whose children are named after the words of the text (so that the response
// walk finds elements to convert).
//
// Splitting and walking must end with a result, SoapScannerException or SOAPException; a scanner
// must run out of tokens before it has read more tokens than the text has characters.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "call/method_description_scanner.h"
#include "call/parameter_walker.h"
#include "host/entry_points.h"
#include "support/values/soap_exception.h"
#include "testhost/testhost.h"

namespace {

using testhost::Arguments;
using testhost::Runtime;
using testhost::Value;

// Reads every token; the words go to *words when given.
void ScanToEnd(tssoap::SoapScanner& scanner, size_t length, std::vector<std::string>* words) {
  size_t tokens = 0;
  try {
    for (;;) {
      int16_t token = scanner.NextToken();
      if (++tokens > length + 1) std::abort();
      if (words != nullptr && token == scanner.GetWordToken() && words->size() < 64) {
        words->push_back(scanner.GetTokenText());
      }
    }
  } catch (const tssoap::SoapScannerException&) {
  }
}

template <typename Walk>
void Guarded(Walk&& walk) {
  try {
    walk();
  } catch (const tssoap::SoapScannerException&) {
  } catch (const SOAPException&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tssoap::MethodDescriptionParts parts;
  try {
    parts =
        tssoap::SplitMethodDescription(std::string_view(reinterpret_cast<const char*>(data), size));
  } catch (const tssoap::SoapScannerException&) {
    return 0;
  }
  const std::string& text = parts.parameterText;
  std::vector<std::string> words;
  tssoap::SoapMethodScanner methodScanner(text);
  ScanToEnd(methodScanner, text.size(), &words);
  tssoap::SoapStructScanner structScanner(text);
  ScanToEnd(structScanner, text.size(), nullptr);

  Runtime host({&TSX_GetDescription, &TSX_CreateNonVisualObject});
  const HostObject proxy = host.NewInstance(
      host.DefineProxyClass("fuzzproxy", {{"xsd", "http://www.w3.org/2001/XMLSchema"},
                                          {"soapenc", "http://schemas.xmlsoap.org/soap/encoding/"},
                                          {"tns", "urn:fuzz"}}));
  Arguments arguments(host, {Value::String("1"), Value::Long(1),
                             Value::Array(kHostString, {Value::String("1")}), Value::Any()});
  const std::unique_ptr<Runtime::Cell> result = host.MakeCell(Value::Any());
  HostCallInfo info{&arguments, result.get(), nullptr};
  tssoap::ParameterWalker walker(proxy, host);

  SOAPMethod method(parts.methodName.c_str(), parts.methodNamespace.c_str(),
                    parts.SoapActionArgument(), false);
  Guarded([&] { walker.WalkRequest(method, info, text); });

  SOAPParameter response;
  response.SetName("fuzzResponse", "urn:fuzz");
  for (const std::string& word : words) {
    SOAPParameter& child = response.AddParameter(word.c_str());
    child.SetString("1");
    child.AddParameter("item").SetString("1");
  }
  Guarded([&] { walker.WalkResponse(response, info, text); });
  return 0;
}
