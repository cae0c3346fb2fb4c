# Sourced by the benchmark scripts.

# start_sample_service SERVICE DIR starts the bundled sample service on 127.0.0.1 on an ephemeral
# port, keeps its output in DIR, sets url to its address and stops it when the script exits (the
# service ends when its stdin pipe closes).
start_sample_service() {
  local service=$1 dir=$2 port
  mkfifo "$dir/service.in"
  "$service" --port 0 <"$dir/service.in" >"$dir/service.out" 2>&1 &
  service_pid=$!
  exec 3>"$dir/service.in"
  trap 'exec 3>&-; kill $service_pid 2>/dev/null || true; wait 2>/dev/null || true' EXIT
  for _ in $(seq 100); do
    grep -q '^PORT ' "$dir/service.out" && break
    sleep 0.1
  done
  port=$(sed -n 's/^PORT //p' "$dir/service.out")
  [ -n "$port" ] || { echo "the sample service didn't start" >&2; cat "$dir/service.out" >&2; exit 1; }
  url=http://127.0.0.1:$port/sample
}

# instructions NAME COMMAND...: the callgrind total of one run of COMMAND (the "Collected" line
# valgrind prints); the profile and the output stay in $out as callgrind.NAME, NAME.stdout and
# NAME.stderr.
instructions() {
  local name=$1
  shift
  valgrind --tool=callgrind --callgrind-out-file="$out/callgrind.$name" "$@" \
    >"$out/$name.stdout" 2>"$out/$name.stderr" ||
    { echo "$(basename "$0"): $name failed:" >&2; tail -5 "$out/$name.stderr" >&2; exit 1; }
  sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$out/$name.stderr"
}
