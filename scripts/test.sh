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
