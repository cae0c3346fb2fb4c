#!/usr/bin/env bash
# Set-up and the main job on a fresh machine: installs the dependencies, builds, and runs the
# command-line tool's demo against the bundled sample service.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${TSSOAP_SKIP_INSTALL:-0}" != "1" ]; then scripts/install-deps.sh; fi
cmake --preset default >/dev/null
# The tool alone: it brings the extension and the sample service along, not the tests.
cmake --build --preset default -j "$(nproc)" --target tssoap >/dev/null
exec build/default/tools/tssoap/tssoap demo
