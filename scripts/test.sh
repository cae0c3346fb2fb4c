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
# The array decoder's fuzzer: the whole project built with clang, then a short bounded run from
# the seed corpus. New inputs go to a scratch corpus in the build tree, never into the seeds.
cmake --preset fuzz
cmake --build --preset fuzz -j "$jobs"
mkdir -p build/fuzz/corpus-work
build/fuzz/fuzz/soap_array_decoder_fuzz -max_total_time=60 -malloc_limit_mb=64 \
  -dict=fuzz/soap_array_decoder.dict build/fuzz/corpus-work fuzz/corpus/soap_array_decoder
