#!/usr/bin/env bash
# How the cost of a whole call grows with its size: `tssoap call echoIntegerArray` with encoded
# int arrays of each size on the bundled sample service, one kept-alive connection. For each size
# it prints the client's instructions per item of one call (callgrind, the whole process: a run of
# two calls minus a run of one, so that start-up and reading the argument drop out) and the peak
# memory of a one-call run (/usr/bin/time -v, maximum resident set size), and what the call adds to
# the peak of a call of one item, beside the size of the answer.
#
#   bench/scaling.sh [BUILD_DIR]            (default build/default; needs a default build)
#
# Environment: SCALING_SIZES (default "1000 10000 100000 1000000"; the million takes minutes
# under callgrind).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/default}" && pwd)
sizes=${SCALING_SIZES:-1000 10000 100000 1000000}

cmake --build "$build" --target tssoap tssoapclient90 gsoap_echo_client sample_service >/dev/null
tssoap=$build/tools/tssoap/tssoap
client=$build/bench/gsoap_echo_client
command -v valgrind >/dev/null || { echo "scaling.sh: valgrind is missing (scripts/install-deps.sh)" >&2; exit 2; }

out=$build/bench/scaling
rm -rf "$out"
mkdir -p "$out"
source "$root/bench/common.sh"
start_sample_service "$build/examples/sample_service/sample_service" "$out"

# The peak of the whole process, in kB.
peak_of() {
  local items=$1
  shift
  /usr/bin/time -v "$@" >/dev/null 2>"$out/$items.time" ||
    { echo "scaling.sh: the call of $items items failed" >&2; tail -3 "$out/$items.time" >&2; exit 1; }
  sed -n 's/.*Maximum resident set size (kbytes): \([0-9]*\).*/\1/p' "$out/$items.time"
}

"$client" --json ints 1 >"$out/ints.1.json"
base=$(peak_of 1 "$tssoap" call "$root/examples/sample.json" echointegerarray "@$out/ints.1.json" \
  --endpoint "$url")
echo "| Items | Instructions per item | Answer bytes | Peak memory (kB) | Added to a call of one item / answer |"
echo "| --- | --- | --- | --- | --- |"
for items in $sizes; do
  "$client" --json ints "$items" >"$out/ints.$items.json"
  call=("$tssoap" call "$root/examples/sample.json" echointegerarray "@$out/ints.$items.json"
    --endpoint "$url" --options "connectioncache=true")
  one=$(instructions "$items.1" "${call[@]}" --repeat 1)
  two=$(instructions "$items.2" "${call[@]}" --repeat 2)
  peak=$(peak_of "$items" "${call[@]}")
  # The answer's size: what the wire log shows behind the "HTTP <status>" line.
  "${call[@]}" --wire >/dev/null 2>"$out/$items.wire"
  answer=$(awk 'found { bytes += length($0) + 1 } /^HTTP [0-9]+ / { found = 1 } END { print bytes - 1 }' \
    "$out/$items.wire")
  awk -v i="$items" -v a="$one" -v b="$two" -v bytes="$answer" -v peak="$peak" -v base="$base" \
    'BEGIN { printf "| %d | %.0f | %d | %d | %.1f |\n", i, (b - a) / i, bytes, peak, (peak - base) * 1024 / bytes }'
done
