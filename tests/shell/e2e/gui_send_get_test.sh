#!/usr/bin/env bash
# The program end to end, as a person uses it: started on a home of its own against the
# simulated phone, under a virtual X server; the About page closed with its X, "Send && Get"
# pressed with the mouse, and the folders read back with `velkan list` once the transfer is over.
#
#   gui_send_get_test.sh PROGRAM VELKAN PHONE_SIM DEMO_MESSAGES
#
# Exits 0 when the Outbox message went to Sent and every message of the phone is in the Inbox;
# otherwise 1 with a line that says what was wrong.
set -euo pipefail

fail() { echo "gui_send_get_test: FAIL: $*" >&2; exit 1; }
# Polls a condition a tenth of a second at a time, up to $1 tenths.
wait_until() {
  local tenths=$1
  shift
  for _ in $(seq "$tenths"); do
    "$@" && return 0
    sleep 0.1
  done
  return 1
}
count() { "$velkan" list "$1" --json | grep -c . || true; }

# The part that runs inside the virtual X server (the script calls itself there).
if [ "${1:-}" = --inside ]; then
  program=$2 velkan=$3 phone_count=$4
  "$program" >"$HOME/program.log" 2>&1 &
  pid=$!
  trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null || true' EXIT
  find_window() {
    win=$(xdotool search --onlyvisible --name "^Velkan Tessiver$" 2>/dev/null | head -1)
    [ -n "$win" ]
  }
  wait_until 100 find_window || fail "no window titled Velkan Tessiver appeared"
  sleep 0.5  # its first paint
  eval "$(xdotool getwindowgeometry --shell "$win")"
  # The About page first: its X stands at the top right.
  xdotool mousemove $((X + WIDTH - 12)) $((Y + 10)) click 1
  sleep 0.5
  # The message list: with a message in the Outbox the top-right button is "Send && Get".
  xdotool mousemove $((X + WIDTH - 32)) $((Y + 12)) click 1
  sent_and_fetched() { [ "$(count sent)" = 1 ] && [ "$(count inbox)" = "$phone_count" ]; }
  wait_until 300 sent_and_fetched ||
    fail "after Send && Get: $(count outbox) in the Outbox, $(count sent) in Sent," \
         "$(count inbox) of $phone_count in the Inbox"
  kill -0 "$pid" 2>/dev/null || fail "the program ended by itself: $(cat "$HOME/program.log")"
  exit 0
fi

[ $# -eq 4 ] || { echo "usage: $0 PROGRAM VELKAN PHONE_SIM DEMO_MESSAGES" >&2; exit 2; }
program=$1 velkan=$2 sim=$3 messages=$4
command -v xvfb-run >/dev/null || fail "xvfb-run is not installed (scripts/setup.sh)"
command -v xdotool >/dev/null || fail "xdotool is not installed (scripts/setup.sh)"

home=$(mktemp -d)
cleanup() {
  if [ -n "${sim_pid:-}" ]; then
    kill "$sim_pid" 2>/dev/null || true
    wait "$sim_pid" 2>/dev/null || true
  fi
  rm -rf "$home"
}
trap cleanup EXIT
mkdir -p "$home/runtime" && chmod 700 "$home/runtime"
export HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data
export XDG_RUNTIME_DIR=$home/runtime QT_QPA_PLATFORM=xcb
unset VELKAN_DATA_DIR VELKAN_CLOCK_STEP_MS

# The phone on a free port; its first line says which.
"$sim" --listen 127.0.0.1:0 --no-deliver-sent --messages "$messages" >"$home/sim.out" &
sim_pid=$!
first=
sim_ready() { first=$(head -n 1 "$home/sim.out" 2>/dev/null); [ -n "$first" ]; }
wait_until 100 sim_ready || fail "the simulated phone did not start"
address=${first#listening }
# Only received messages (status 0 or 1) come into the Inbox; sent copies stay on the phone.
phone_count=$(grep -cE '^(SM|ME)(@[0-9]+)?\|[01]\|' "$messages")

"$velkan" config set CommPort TCP >/dev/null
"$velkan" config set TCP "$address" >/dev/null
"$velkan" compose --to +4930123456 --text "From the window" >/dev/null

xvfb-run -a -s "-screen 0 800x600x24" "$0" --inside "$program" "$velkan" "$phone_count"

[ "$(count outbox)" = 0 ] || fail "the Outbox is not empty"
"$velkan" list sent --json | grep -q '"text":"From the window"' || fail "the sent message is not in Sent"
echo "gui_send_get_test: the window sent 1 message and fetched $phone_count"
