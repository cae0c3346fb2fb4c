// How decoding an encoded array of strings scales with its size: the decoder alone, and the whole
// way of a response's string array into a host array (decoder, string row, host item writes).
// Sizes 1k, 10k and 100k; the reported complexity should come out as O(N).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>

#include "array_sizes.h"
#include "composite/soap_array_decoder.h"
#include "support/soap_vocabulary.h"

#ifdef TSSOAP_BENCH_WITH_HOST
#include "call/value_drivers.h"
#include "host/host_value_record.h"
#include "testhost/testhost.h"
#endif

namespace {

// An encoded array element as the parser leaves it: arrayType, then one text child per item.
std::unique_ptr<SOAPParameter> EncodedStringArray(int64_t count) {
  auto element = std::make_unique<SOAPParameter>();
  element->SetName("values", nullptr);
  char dimension[32];
  std::snprintf(dimension, sizeof dimension, "xsd:string[%lld]", static_cast<long long>(count));
  element->AddAttribute(tssoap::Vocabulary().type).SetName("Array");
  element->AddAttribute(tssoap::Vocabulary().arrayType).SetName(dimension);
  element->SetIsStruct();
  char text[64];
  for (int64_t i = 0; i < count; ++i) {
    std::snprintf(text, sizeof text, "string value number %08lld", static_cast<long long>(i));
    element->AddParameter("item").SetString(text);
  }
  return element;
}

void BM_DecodeSoapArray(benchmark::State& state) {
  std::unique_ptr<SOAPParameter> element = EncodedStringArray(state.range(0));
  for (auto _ : state) {
    XmlTextSlots slots;
    tssoap::DecodeSoapArray(*element, slots);
    benchmark::DoNotOptimize(slots[0].text.data());
  }
  CountItems(state);
}
BENCHMARK(BM_DecodeSoapArray)->Apply(ArraySizes)->Unit(benchmark::kMicrosecond);

#ifdef TSSOAP_BENCH_WITH_HOST
// The whole way of a response's string array: the driver of an encoded array, the decoder, the
// string row's conversion of each item and the host's item writes into an unbounded array. Each
// iteration gets a fresh reference host, made and ended outside the timing, so that the host's
// store doesn't grow from one iteration to the next.
void BM_EncodedStringArrayIn(benchmark::State& state) {
  std::unique_ptr<SOAPParameter> element = EncodedStringArray(state.range(0));
  const std::string typeName = "xsd:string";
  const std::string elementName = "item";
  for (auto _ : state) {
    state.PauseTiming();
    auto runtime = std::make_unique<testhost::Runtime>();
    const HostClass proxyClass =
        runtime->DefineProxyClass("benchproxy", {{"xsd", tssoap::kXsdNamespace2001}});
    const HostObject proxy = runtime->NewInstance(proxyClass);
    tssoap::HostValueRecord record{};
    record.isArray = 1;
    record.kind = kHostString;
    record.value.handle = runtime->NewUnboundedSimpleArray(kHostString);
    state.ResumeTiming();

    tssoap::ConvertEncodedArrayIn(*element, *runtime, proxy, typeName, record, elementName);

    state.PauseTiming();
    if (runtime->GetArrayLength(record.value.handle) != state.range(0)) {
      state.SkipWithError("the host array didn't get every item");
    }
    runtime.reset();
    state.ResumeTiming();
  }
  CountItems(state);
}
BENCHMARK(BM_EncodedStringArrayIn)->Apply(ArraySizes)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
