#!/usr/bin/env bash
# The fault soak: a fresh stand-in service with its control interface, the window (offscreen) with a
# conversation open, and a `brightloom-cli follow` loop beside it, while brightloom_soak injects
# faults in rotation. Passes when neither client crashed or hung and the window held its limits.
#   run_soak.sh BUILD_DIR MINUTES [STALL_BUDGET_MS]   (default 16.7: one frame at 60 Hz)
set -euo pipefail
build=$(cd "$1" && pwd) minutes=$2 budget=${3:-16.7}
home=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; wait 2>/dev/null; rm -rf "$home"' EXIT
mkdir -p "$home/server" "$home/Downloads" && mkdir -m 0700 "$home/runtime"
export HOME="$home" XDG_DATA_HOME="$home/.local/share" XDG_CONFIG_HOME="$home/.config"
export XDG_CACHE_HOME="$home/.cache" XDG_DOWNLOAD_DIR="$home/Downloads" XDG_RUNTIME_DIR="$home/runtime"
export QT_QPA_PLATFORM=offscreen

"$build/devserver/brightloom-devserver" --data "$home/server" --port 0 --speed 2 --control \
  >"$home/server/address" 2>"$home/server/log" &
for _ in $(seq 1 200); do
  [ -s "$home/server/address" ] && break
  sleep 0.1
done
BRIGHTLOOM_URL=$(head -n 1 "$home/server/address")
export BRIGHTLOOM_URL BRIGHTLOOM_CA_FILE="$home/server/cert.pem"
cli="$build/src/brightloom-cli"
"$cli" login --email demo@brightloom.test --password brightloom-demo >/dev/null
project=$("$cli" new "a soak timer with a dark mode")

# The command line follows the same project over and over; a run may fail on an injected fault, but
# it must never crash, hang past its own limits or misuse its arguments.
: >"$home/follow.status"
(
  while :; do
    status=0
    timeout 300 "$cli" follow "$project" --interval 1 >/dev/null 2>>"$home/follow.err" || status=$?
    echo "$status" >>"$home/follow.status"
    sleep 1
  done
) &

status=0
${SOAK_WRAPPER:-} "$build/tools/soak/brightloom_soak" --minutes "$minutes" --project "$project" --stall-budget-ms "$budget" || status=$?

runs=$(wc -l <"$home/follow.status")
bad=$(grep -cvE '^(0|1)$' "$home/follow.status" || true)
echo "command line: $runs follow runs, $bad ended other than by success or a reported failure"
if [ "$bad" != 0 ]; then
  sort "$home/follow.status" | uniq -c
  tail -n 5 "$home/follow.err"
  status=1
fi
exit "$status"
