// The sizes every array benchmark runs at, 1k, 10k and 100k items, with a fitted complexity that
// must come out as O(N).
#pragma once

#include <benchmark/benchmark.h>

inline void ArraySizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(1000, 100000)->Complexity(benchmark::oN);
}

// After the timing loop: the size for the fitted complexity, and items a second.
inline void CountItems(benchmark::State& state) {
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
