#!/usr/bin/env bash
# Set-up and tests on a fresh machine: installs the dependencies, builds, and runs the whole suite
# twice, once plainly and once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${TSSOAP_SKIP_INSTALL:-0}" != "1" ]; then scripts/install-deps.sh; fi
jobs=$(nproc)
for preset in default sanitize; do
  cmake --preset "$preset"
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
# The array decoder's fuzzer: the whole project built with clang, then a short bounded run from
# the seed corpus. New inputs go to a scratch corpus in the build tree, never into the seeds.
cmake --preset fuzz
cmake --build --preset fuzz -j "$jobs"
mkdir -p build/fuzz/corpus-work
build/fuzz/fuzz/soap_array_decoder_fuzz -max_total_time=60 -malloc_limit_mb=64 \
  -dict=fuzz/soap_array_decoder.dict build/fuzz/corpus-work fuzz/corpus/soap_array_decoder
