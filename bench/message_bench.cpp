// How the other legs of a call scale with the size of a string array: a host array into a request
// element, a request into its envelope text, and an answer's text into the element tree. With
// the decoding leg in encoded_array_in_bench.cpp they make the whole way of an echoed array.
// Sizes 1k, 10k and 100k; each reported complexity should come out as O(N).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "array_sizes.h"
#include "call/value_drivers.h"
#include "easysoap/soap_method.h"
#include "easysoap/soap_parser.h"
#include "easysoap/xml_composer.h"
#include "encoded_answer.h"
#include "host/host_value_record.h"
#include "support/soap_vocabulary.h"
#include "testhost/testhost.h"

namespace {

constexpr const char* kServiceNamespace = "urn:tssoap-sample";

// A request as the call builds it: the method element with one encoded array of count strings.
std::unique_ptr<SOAPMethod> RequestWithArray(int64_t count) {
  auto method = std::make_unique<SOAPMethod>("echoStringArray", kServiceNamespace, "", false);
  method->bindingStyle = XMLComposer::kRpcStyle;
  SOAPParameter& values = method->AddParameter("values");
  char dimension[32];
  std::snprintf(dimension, sizeof dimension, "xsd:string[%lld]", static_cast<long long>(count));
  values.AddAttribute(tssoap::Vocabulary().arrayType).SetName(dimension);
  values.SetIsStruct();
  for (int64_t i = 0; i < count; ++i) values.AddParameter("item").SetString(ItemText(i).c_str());
  return method;
}

void BM_ComposeRequest(benchmark::State& state) {
  std::unique_ptr<SOAPMethod> method = RequestWithArray(state.range(0));
  std::string envelope;
  for (auto _ : state) {
    envelope.clear();
    XMLComposer::ComposeRequest(*method, method->bindingStyle, envelope);
    benchmark::DoNotOptimize(envelope.data());
  }
  CountItems(state);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(envelope.size()));
}
BENCHMARK(BM_ComposeRequest)->Apply(ArraySizes)->Unit(benchmark::kMillisecond);

void BM_ParseResponse(benchmark::State& state) {
  const std::string text = EncodedArrayAnswer(state.range(0), state.range(1) != 0);
  for (auto _ : state) {
    SOAPResponse response;
    SOAPParser::ParseResponse(text.data(), text.size(), "utf-8", response);
    benchmark::DoNotOptimize(&response.GetMethod());
  }
  CountItems(state);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
// Strings at the usual sizes (second argument 0), and encoded ints from 1k to 1M items (1).
BENCHMARK(BM_ParseResponse)
    ->ArgsProduct({{1000, 10000, 100000}, {0}})
    ->ArgsProduct({{1000, 10000, 100000, 1000000}, {1}})
    ->Unit(benchmark::kMillisecond);

void BM_ParseRecords(benchmark::State& state) {
  const std::string text = RecordArrayAnswer(state.range(0), state.range(1) != 0);
  SOAPParser parser;
  SOAPResponse response;
  for (auto _ : state) {
    parser.Parse(text.data(), text.size(), "utf-8", response, SOAPParser::Limits{});
    benchmark::DoNotOptimize(&response.GetMethod());
  }
  CountItems(state);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
// Records without (second argument 0) and with an xsi:type on every element (1), read by one
// parser into one response, as a proxy reads its answers.
BENCHMARK(BM_ParseRecords)->ArgsProduct({{1000, 10000}, {0, 1}})->Unit(benchmark::kMillisecond);

// The outgoing driver of an encoded array for xsd:string: the host's item reads, the string row's
// conversion of each item (code page to UTF-8) and the item elements. The host array is made
// once; each iteration writes into a fresh element of a fresh request, as a call does.
void BM_EncodedStringArrayOut(benchmark::State& state) {
  testhost::Runtime runtime;
  const HostClass proxyClass =
      runtime.DefineProxyClass("benchproxy", {{"xsd", tssoap::kXsdNamespace2001}});
  const HostObject proxy = runtime.NewInstance(proxyClass);
  testhost::Value::Items items;
  for (int64_t i = 0; i < state.range(0); ++i)
    items.push_back(testhost::Value::String(ItemText(i)));
  tssoap::HostValueRecord record{};
  record.isArray = 1;
  record.kind = kHostString;
  record.value.handle = runtime.MakeArray(testhost::Value::Array(kHostString, std::move(items)));
  const std::string typeName = "xsd:string";
  const std::string elementName = "item";
  for (auto _ : state) {
    SOAPMethod method("echoStringArray", kServiceNamespace, "", false);
    SOAPParameter& element = method.AddParameter("values");
    tssoap::ConvertEncodedArrayOut(element, runtime, proxy, typeName, record, elementName);
    benchmark::DoNotOptimize(&element);
  }
  CountItems(state);
}
BENCHMARK(BM_EncodedStringArrayOut)->Apply(ArraySizes)->Unit(benchmark::kMillisecond);

}  // namespace
