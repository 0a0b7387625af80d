#!/usr/bin/env bash
# Installs what is missing, builds, and shows the library at work.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/deps.sh"
orvex_require_packages "${orvex_build_packages[@]}"

build="$root/build"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
examples="$build/examples"

pids=()
cleanup() {
    local pid
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
}
trap cleanup EXIT

section() { printf '\n== %s ==\n' "$1"; }

section "Message channel: a host talking to the example message service"
"$examples/message-service/orvex-message-service" &
pids+=($!)
for _ in $(seq 50); do
    (exec 3<>/dev/tcp/127.0.0.1/8889) 2>/dev/null && break
    sleep 0.1
done
"$examples/message-host/orvex-message-host"
kill "${pids[0]}"
wait "${pids[0]}" 2>/dev/null || true
pids=()

section "Message channel: the same host with no service (default values)"
"$examples/message-host/orvex-message-host"

section "DOM visitor: the outline of a sample document"
sample="$root/examples/xml-outline/sample.xml"
"$examples/xml-outline/orvex-xml-outline" "$sample"

section "DOM visitor: children of settings and document skipped, stopped at plugins"
"$examples/xml-outline/orvex-xml-outline" --skip settings --skip document --stop plugins "$sample"

section "Service framework: the heartbeat example's life cycle"
heartbeat="$examples/heartbeat-service/orvex-heartbeat-service"
# The registry goes to a temporary directory, not the machine's system-wide settings.
heartbeat_dir=$(mktemp -d)
export ORVEX_HEARTBEAT_REGISTRY="$heartbeat_dir/registry"
export ORVEX_HEARTBEAT_PIDFILE="$heartbeat_dir/pid"
heartbeat_socket="/var/tmp/orvexheartbeat.$(id -un)"
heartbeat_cleanup() {
    rm -rf "$heartbeat_dir"
    rm -f "$heartbeat_socket"
}
trap 'heartbeat_cleanup; cleanup' EXIT
"$heartbeat" -i
"$heartbeat" -v
echo "Starting it detached:"
"$heartbeat"
for _ in $(seq 50); do
    [ -S "$heartbeat_socket" ] && [ -s "$ORVEX_HEARTBEAT_PIDFILE" ] && break
    sleep 0.1
done
heartbeat_pid=$(cat "$ORVEX_HEARTBEAT_PIDFILE")
pids+=("$heartbeat_pid")
echo "Running as process $heartbeat_pid; its control socket:"
ls -l "$heartbeat_socket"
"$heartbeat" -v
echo "Stopping process $heartbeat_pid by its id:"
kill "$heartbeat_pid"
for _ in $(seq 50); do
    kill -0 "$heartbeat_pid" 2>/dev/null || break
    sleep 0.1
done
pids=()
# Ended by a signal, the service left its socket file behind; the next start would remove it.
rm -f "$heartbeat_socket"
"$heartbeat" -u

section "Integers: a toy RSA key from two Mersenne primes, a round trip"
"$examples/rsa-toy/orvex-rsa-toy"

section "Integers: the same with the textbook primes 61 and 53, message 65"
"$examples/rsa-toy/orvex-rsa-toy" 61 53 65
