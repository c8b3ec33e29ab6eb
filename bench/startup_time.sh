#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Start-up time of the desktop program: from the moment it is started to the moment its window,
# showing the About screen, is mapped on a virtual X server (the first paint follows at once).
# Starts the program N times (default 10) on a fresh home of its own and prints every time and
# the median in milliseconds. The clock is read by this script, so the figures include the
# process start and Qt's own start; they are an upper bound of what a user waits.
#
#   bench/startup_time.sh [PROGRAM] [N]     (default: build/default/src/shell/ui/velkan-tessiver)
set -euo pipefail

if [ "${1:-}" = --inside ]; then
  program=$2 runs=$3
  times=()
  for _ in $(seq "$runs"); do
    start=$(date +%s%N)
    "$program" >/dev/null 2>&1 &
    pid=$!
    until xdotool search --onlyvisible --name "^Velkan Tessiver$" >/dev/null 2>&1; do
      kill -0 "$pid" 2>/dev/null || { echo "startup_time: the program ended" >&2; exit 1; }
    done
    end=$(date +%s%N)
    kill "$pid"
    wait "$pid" 2>/dev/null || true
    times+=($(((end - start) / 1000000)))
  done
  printf 'startup_time: %s ms\n' "${times[*]}"
  median=$(printf '%s\n' "${times[@]}" | sort -n | awk '{a[NR]=$1} END {print a[int((NR + 1) / 2)]}')
  echo "startup_time: median $median ms over $runs starts"
  exit 0
fi

root=$(cd "$(dirname "$0")/.." && pwd)
program=${1:-$root/build/default/src/shell/ui/velkan-tessiver}
runs=${2:-10}
[ -x "$program" ] || { echo "startup_time: $program is not built" >&2; exit 2; }
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$home/runtime" && chmod 700 "$home/runtime"
export HOME=$home XDG_CONFIG_HOME=$home/config XDG_DATA_HOME=$home/data
export XDG_RUNTIME_DIR=$home/runtime QT_QPA_PLATFORM=xcb
xvfb-run -a -s "-screen 0 800x600x24" "$0" --inside "$program" "$runs"
