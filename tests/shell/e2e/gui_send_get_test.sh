#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The program end to end, as a person uses it: started on a home of its own against the
# simulated phone, under a virtual X server and driven with the mouse and keyboard. The About
# page is closed with its X and "Send && Get" pressed; then "New", a number and a text typed, and
# "Send" pressed in the compose dialog; last F1. The folders are read back with `velkan list`,
# and what the phone received from its command log.
#
#   gui_send_get_test.sh PROGRAM VELKAN PHONE_SIM DEMO_MESSAGES
#
# Exits 0 when the Outbox message went to Sent, every message of the phone is in the Inbox, the
# message written in the dialog was sent and stored in Sent, and F1 started the desktop's opener
# with the manual's URL as its one argument; otherwise 1 with a line that says what was wrong.
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
  # A stand-in for the desktop's opener, first on the path: it records the arguments it gets.
  mkdir -p "$HOME/bin"
  printf '%s\n' '#!/bin/sh' 'printf "%s\n" "$#" "$@" > "$HOME/opened.part"' \
    'mv "$HOME/opened.part" "$HOME/opened"' > "$HOME/bin/xdg-open"
  chmod 700 "$HOME/bin/xdg-open"
  export PATH=$HOME/bin:$PATH
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

  # Write a message and send it: "New" at the bottom left opens the compose dialog in the same
  # frame; the number field, the text field and "Send" stand where its template puts them.
  sleep 2  # the progress dialog closes itself 1.5 s after "Success"
  xdotool mousemove $((X + 22)) $((Y + HEIGHT - 12)) click 1
  sleep 0.7
  xdotool mousemove $((X + 220)) $((Y + 61)) click 1
  xdotool type --delay 10 "+49 30 7654321"
  xdotool mousemove $((X + 175)) $((Y + 245)) click 1
  xdotool type --delay 10 "Typed in the window"
  xdotool mousemove $((X + 43)) $((Y + 518)) click 1
  sent_from_dialog() { [ "$(count sent)" = 2 ]; }
  wait_until 300 sent_from_dialog || fail "after Send in the compose dialog: $(count sent) in Sent"

  # F1 opens the manual through the desktop's opener, started directly with the manual's URL as
  # its one argument: no shell in between to split or expand it.
  xdotool windowactivate --sync "$win" 2>/dev/null || true
  xdotool key F1
  opened() { [ -f "$HOME/opened" ]; }
  wait_until 100 opened || fail "F1 did not start the desktop's opener"
  [ "$(sed -n 1p "$HOME/opened")" = 1 ] || fail "the opener got $(sed -n 1p "$HOME/opened") arguments"
  case "$(sed -n 2p "$HOME/opened")" in
    file:///*/docs/help/index.html) ;;
    *) fail "the opener got '$(sed -n 2p "$HOME/opened")', not the manual's URL" ;;
  esac
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
"$sim" --listen 127.0.0.1:0 --no-deliver-sent --messages "$messages" --log "$home/sim.log" \
  >"$home/sim.out" &
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
"$velkan" list sent --json | grep -q '"number":"+49307654321","text":"Typed in the window"' ||
  fail "the message written in the dialog is not in Sent: $("$velkan" list sent --json)"
# Two sends reached the phone: the Outbox message and the one written in the dialog.
[ "$(grep -c '^AT+CMGS=' "$home/sim.log")" = 2 ] || fail "the phone did not receive two sends"
grep -q '^AT+CMGL=4$' "$home/sim.log" || fail "the phone was never listed"
echo "gui_send_get_test: the window sent 2 messages and fetched $phone_count"
