#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds Velkan Tessiver and shows it working without a phone: a simulated phone with a few
# stored messages listens on 127.0.0.1:4000, and the program starts on a demo configuration of
# its own (build/demo/), set to reach that phone over TCP. You see the About screen (close it
# with its X), then the Inbox; "Send && Get" fetches the phone's messages. The simulator stops
# when the program ends. Your own settings and messages are not touched.
#
#   scripts/run.sh              build, then start the demo
#   scripts/run.sh --no-build   start the demo from what is already built
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

build=yes
if [ "${1:-}" = "--no-build" ]; then
  build=no
  shift
fi
if [ "$build" = yes ]; then
  scripts/setup.sh
  cmake --preset default >/dev/null
  cmake --build --preset default -j "$(nproc 2>/dev/null || echo 2)" \
    --target velkan-tessiver velkan velkan-phone-sim
fi

bin=$root/build/default
program=$bin/src/shell/ui/velkan-tessiver
cli=$bin/src/cli/velkan
sim=$bin/tools/phone-sim/velkan-phone-sim
for f in "$program" "$cli" "$sim"; do
  [ -x "$f" ] || { echo "run.sh: $f is not built" >&2; exit 1; }
done

# The demo's own folders: settings, messages, runtime (the single-instance socket).
demo=$root/build/demo
mkdir -p "$demo/config" "$demo/data" "$demo/runtime"
chmod 700 "$demo/runtime"
export XDG_CONFIG_HOME=$demo/config
export XDG_DATA_HOME=$demo/data
export XDG_RUNTIME_DIR=$demo/runtime

# A few contacts for the Name button of the compose dialog (not over ones already there).
mkdir -p "$demo/data/contacts"
[ -e "$demo/data/contacts/demo.vcf" ] || cp "$root/tools/demo/contacts.vcf" "$demo/data/contacts/demo.vcf"

"$cli" config set CommPort TCP >/dev/null
"$cli" config set TCP 127.0.0.1:4000 >/dev/null

# The simulated phone; its first line says where it listens.
fifo=$demo/sim.out
rm -f "$fifo"
mkfifo "$fifo"
"$sim" --listen 127.0.0.1:4000 --messages "$root/tools/phone-sim/demo_messages.txt" \
  --state "$demo/phone-state.txt" >"$fifo" &
sim_pid=$!
trap 'kill "$sim_pid" 2>/dev/null || true; wait "$sim_pid" 2>/dev/null || true; rm -f "$fifo"' EXIT
if ! read -r first <"$fifo"; then
  echo "run.sh: the simulated phone did not start (is port 4000 in use?)" >&2
  exit 1
fi
echo "run.sh: simulated phone $first; settings and messages in $demo" >&2

"$program" "$@"
