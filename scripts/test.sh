#!/usr/bin/env bash
# Set-up and tests on a fresh machine: installs the dependencies, builds, and runs the whole suite
# three times, plainly, under AddressSanitizer and UndefinedBehaviorSanitizer, and under
# ThreadSanitizer; builds Release; then runs every fuzzer for a bounded time.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${TSSOAP_SKIP_INSTALL:-0}" != "1" ]; then scripts/install-deps.sh; fi
jobs=$(nproc)
for preset in default sanitize tsan; do
  cmake --preset "$preset"
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
# The installation: into a scratch prefix, and as the Debian package (unpacked, not installed),
# each tool running its demo from where it was put.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install build/default --prefix "$scratch/prefix" >/dev/null
"$scratch/prefix/bin/tssoap" demo >/dev/null
(cd build/default && cpack -G DEB >/dev/null)
deb=$(ls build/default/tssoap_*.deb)
dpkg-deb -c "$deb" | grep ' ./usr/libexec/tssoap/sample_service$' >/dev/null
dpkg-deb -x "$deb" "$scratch/deb"
"$scratch/deb/usr/bin/tssoap" demo >/dev/null
echo "installed and packaged: $deb"
# A Release build with warnings as errors: GCC warns at -O3 where it doesn't at -O2.
cmake -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DTSSOAP_WERROR=ON
cmake --build build/release -j "$jobs"
# Every fuzzer: the code they read built instrumented with clang, then a bounded run of each from
# its seed corpus (about five minutes in all). New inputs go to a scratch corpus in the build tree,
# never into the seeds.
cmake --preset fuzz
cmake --build --preset fuzz -j "$jobs" --target fuzzers
for fuzzer in fuzz/*_fuzz.cpp; do
  name=$(basename "$fuzzer" _fuzz.cpp)
  mkdir -p "build/fuzz/corpus-work/$name"
  "build/fuzz/fuzz/${name}_fuzz" -max_total_time="${TSSOAP_FUZZ_SECONDS:-45}" -malloc_limit_mb=64 \
    -dict="fuzz/$name.dict" "build/fuzz/corpus-work/$name" "fuzz/corpus/$name"
done
