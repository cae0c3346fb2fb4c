#!/usr/bin/env bash
# Measures the tool beside a gSOAP client on the bundled sample service (a gSOAP server), one
# kept-alive connection each, for three calls: a short string echo, an encoded array of 10,000 ints
# and an encoded array of 1,000 records (string, int, float). For each it counts the client's
# instructions per call with callgrind (the whole process, start-up subtracted: the runs of
# LOW and HIGH calls differ by HIGH - LOW calls) and times calls per second, for `tssoap call
# --repeat` with the connection cache on, for the gSOAP client and for wrk posting the very
# request bytes the tool sent (the limit: the server and the loopback alone), and for the same
# bytes posted through libcurl alone (curl_post: the best a libcurl client can do). Prints a
# table of both, and one of each client's processor time a call in the timed runs, with the share
# of the raw rate that this time leaves.
#
#   bench/compare.sh [BUILD_DIR]            (default build/default; needs a default build)
#
# Environment: COMPARE_SECONDS (about how long each rate is timed, default 2), COMPARE_LOW and
# COMPARE_HIGH (the call counts under callgrind, default 1 and 11), COMPARE_ONLY (a space-separated
# subset of: string ints structs). The callgrind profiles stay in BUILD_DIR/bench/compare for
# callgrind_annotate.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/default}" && pwd)
seconds=${COMPARE_SECONDS:-2}
low=${COMPARE_LOW:-1}
high=${COMPARE_HIGH:-11}
only=${COMPARE_ONLY:-string ints structs}

cmake --build "$build" --target tssoap tssoapclient90 gsoap_echo_client curl_post sample_service \
  >/dev/null
tssoap=$build/tools/tssoap/tssoap
client=$build/bench/gsoap_echo_client
poster=$build/bench/curl_post
service=$build/examples/sample_service/sample_service
proxy=$root/examples/sample.json
for tool in valgrind wrk; do
  command -v $tool >/dev/null || { echo "compare.sh: $tool is missing (scripts/install-deps.sh)" >&2; exit 2; }
done

out=$build/bench/compare
rm -rf "$out"
mkdir -p "$out"

# The sample service on an ephemeral port, for as long as this script runs; sets url.
source "$root/bench/common.sh"
start_sample_service "$service" "$out"

# Instructions per call: the difference of a run of HIGH calls and one of LOW calls. The command
# is the array named by the second argument; the number of calls goes behind it.
per_call() {
  local name=$1
  local -n command=$2
  local a b
  a=$(instructions "$name.$low" "${command[@]}" "$low")
  b=$(instructions "$name.$high" "${command[@]}" "$high")
  echo $(((b - a) / (high - low)))
}

# Calls per second from a run's "calls per second" line; the number of calls, from a first guess
# of the rate, aims at SECONDS. The run's processor time (user and system) goes to NAME.cpu.
rate() {
  local name=$1 guess=$3
  local -n command=$2
  local calls TIMEFORMAT
  calls=$(awk -v g="$guess" -v s="$seconds" 'BEGIN { c = int(g * s); print c < 3 ? 3 : c }')
  TIMEFORMAT="%U %S $calls"
  { time "${command[@]}" "$calls" >"$out/$name.rate.stdout" 2>"$out/$name.rate.stderr"; } \
    2>"$out/$name.cpu" ||
    { echo "compare.sh: $name failed:" >&2; tail -5 "$out/$name.rate.stderr" >&2; exit 1; }
  sed -n 's/.*: \([0-9]*\) calls per second.*/\1/p' "$out/$name.rate.stderr"
}

# Processor time a call, in microseconds, of the timed run NAME.
cpu_per_call() {
  awk '{ printf "%.0f", ($1 + $2) * 1e6 / $3 }' "$out/$1.cpu"
}

# The request the tool sends, as --wire shows it: a line naming the SOAPAction, the body, an empty
# line, then the answer from its "HTTP <status>" line on.
capture_request() {
  "${tssoap_call[@]}" 1 --wire >"$out/$case.wire.stdout" 2>"$out/$case.wire" ||
    { echo "compare.sh: tssoap --wire failed:" >&2; tail -c 600 "$out/$case.wire" >&2; exit 1; }
  awk 'NR > 1 && /^HTTP [0-9]+ / { exit } NR > 1 { print }' "$out/$case.wire" |
    head -c -2 >"$out/$case.request"
  printf '\n' >>"$out/$case.request"
}

# The SOAPAction header's value of the captured request, quoted as sent; empty for none.
captured_action() {
  if head -1 "$out/$case.wire" | grep -q '(SOAPAction "'; then
    echo "\"$(sed -n '1s/.*(SOAPAction "\(.*\)")$/\1/p' "$out/$case.wire")\""
  fi
}

# Requests per second of wrk posting the captured request on one connection.
raw_rate() {
  local action with_action=()
  action=$(captured_action)
  if [[ -n $action ]]; then with_action=("TSSOAP_WRK_ACTION=$action"); fi
  local TIMEFORMAT="%U %S"
  { time env TSSOAP_WRK_BODY="$out/$case.request" "${with_action[@]}" \
    wrk -t1 -c1 -d"${seconds}s" -s "$root/bench/post_request.lua" "$url" >"$out/$case.wrk" 2>&1; } \
    2>"$out/$case.wrk.time"
  echo "$(cat "$out/$case.wrk.time") $(sed -n 's/^ *\([0-9]*\) requests in.*/\1/p' "$out/$case.wrk")" \
    >"$out/$case.wrk.cpu"
  if grep -q 'Non-2xx' "$out/$case.wrk"; then
    echo "compare.sh: the server refused the captured $case request:" >&2
    cat "$out/$case.wrk" >&2
    exit 1
  fi
  sed -n 's/^Requests\/sec: *\([0-9]*\).*/\1/p' "$out/$case.wrk"
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }'; }

# The share of the raw rate left to a client that spends CPU microseconds a call where wrk spends
# WRK, when nothing it does overlaps the server's work: a round trip of 1e6 / RAW microseconds
# grows by the difference.
bound() {
  awk -v r="$1" -v c="$2" -v w="$3" 'BEGIN { p = 1e6 / r; printf "%.2f", (p / (p + c - w)) }'
}

rows=()
cpu_rows=()
for case in $only; do
  case $case in
    string) kind=string items=5 function=echostring goal=0.5 label='echoString("hello")' ;;
    ints) kind=ints items=10000 function=echointegerarray goal=1.0 label='echoIntegerArray, 10,000 ints' ;;
    structs) kind=structs items=1000 function=echostructarray goal=1.0 label='echoStructArray, 1,000 records' ;;
    *) echo "compare.sh: unknown case $case" >&2; exit 2 ;;
  esac
  echo "compare.sh: $label" >&2
  "$client" --json "$kind" "$items" >"$out/$case.json"
  tssoap_call=("$tssoap" call "$proxy" "$function" "$(cat "$out/$case.json")" --endpoint "$url"
    --options "connectioncache=true" --repeat)
  gsoap_call=("$client" "$url" "$kind" "$items")
  capture_request
  ours=$(per_call "$case.tssoap" tssoap_call)
  theirs=$(per_call "$case.gsoap" gsoap_call)
  # A first guess of the rate from the instruction counts (about 1e9 instructions a second) makes
  # each timed run last about SECONDS.
  ours_rate=$(rate "$case.tssoap" tssoap_call "$((1000000000 / (ours + 1)))")
  theirs_rate=$(rate "$case.gsoap" gsoap_call "$((1000000000 / (theirs + 1)))")
  raw=$(raw_rate)
  action=$(captured_action)
  curl_call=("$poster" "$url" "$out/$case.request" "${action:--}")
  curl_rate=$(rate "$case.curl" curl_call "$raw")
  for who in tssoap gsoap curl wrk; do
    printf -v "cpu_$who" '%s' "$(cpu_per_call "$case.$who")"
  done
  trip=$(awk -v r="$raw" 'BEGIN { printf "%.0f", (r > 0 ? 1e6 / r : 0) }')
  cpu_rows+=("| $label | $cpu_tssoap | $cpu_gsoap | $cpu_curl | $cpu_wrk | $trip | $(bound "$raw" "$cpu_tssoap" "$cpu_wrk") | $(bound "$raw" "$cpu_curl" "$cpu_wrk") |")
  rows+=("| $label | $ours | $theirs | $(ratio "$ours" "$theirs") | $goal | $ours_rate | $theirs_rate | $raw | $curl_rate | $(ratio "$ours_rate" "$theirs_rate") | $(ratio "$ours_rate" "$raw") | $(ratio "$curl_rate" "$raw") |")
done

echo "| Call | tssoap instructions/call | gSOAP instructions/call | Ratio | Goal | tssoap calls/s | gSOAP calls/s | raw HTTP calls/s | libcurl alone calls/s | tssoap/gSOAP rate | tssoap/raw rate | libcurl alone/raw rate |"
echo "| --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- | --- |"
printf '%s\n' "${rows[@]}"
echo
echo "Processor time a call (user and system, microseconds) in the timed runs; the raw round trip; the share of the raw rate that a client's extra time over wrk's leaves when none of it overlaps the server's work."
echo "| Call | tssoap | gSOAP | libcurl alone | wrk | raw round trip | tssoap share it leaves | libcurl alone share it leaves |"
echo "| --- | --- | --- | --- | --- | --- | --- | --- |"
printf '%s\n' "${cpu_rows[@]}"
