#!/usr/bin/env bash
# Takes screenshots of the program's screens into docs/images/, under a virtual X server so that
# real fonts and window decorations are used. Rerunnable: the images are simply replaced.
#
#   scripts/screenshots.sh            build, then take the screenshots
#   scripts/screenshots.sh --no-build
#
# docs/images/about.png, about-wide.png   the About page, drawn by the program itself
# docs/images/start.png                   the whole virtual screen while the program starts
# docs/images/inbox.png                   the demo (scripts/run.sh): About closed, Get pressed,
#                                         the Inbox filled from the simulated phone
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

if [ "${1:-}" != "--no-build" ]; then
  scripts/setup.sh
  cmake --preset default >/dev/null
  cmake --build --preset default -j "$(nproc 2>/dev/null || echo 2)" \
    --target velkan-tessiver screen_tour
fi
bin=$root/build/default
out=$root/docs/images
mkdir -p "$out"

# A private home for the program, so that nothing of the user's is read or changed.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/runtime"
chmod 700 "$scratch/runtime"
export XDG_CONFIG_HOME=$scratch/config XDG_DATA_HOME=$scratch/data XDG_RUNTIME_DIR=$scratch/runtime
export QT_QPA_PLATFORM=xcb

xvfb-run -a -s "-screen 0 800x600x24" "$bin/tests/shell/app/screen_tour" "$out"

# The real program as a window on the virtual screen: the start-up screen.
xvfb-run -a -s "-screen 0 800x600x24" bash -c '
  "$1" & pid=$!
  sleep 3
  import -window root "$2/start.png"
  kill "$pid"; wait "$pid" 2>/dev/null || true
' _ "$bin/src/shell/ui/velkan-tessiver" "$out"
echo "$out/start.png"

# The demo as a newcomer sees it: close the About page with its X, press "Get", wait for the
# transfer to end, and take the frame window with the Inbox it filled. The demo keeps its own
# folders under build/demo; start them afresh so the Inbox is empty before "Get".
rm -rf "$root/build/demo"
xvfb-run -a -s "-screen 0 800x600x24" bash -c '
  set -e
  "$1/scripts/run.sh" --no-build >/dev/null 2>&1 &
  demo=$!
  for _ in $(seq 100); do
    win=$(xdotool search --name "^Velkan Tessiver$" 2>/dev/null | head -1) && [ -n "$win" ] && break
    sleep 0.1
  done
  [ -n "$win" ] || { echo "screenshots.sh: the program did not open its window" >&2; exit 1; }
  sleep 1
  eval "$(xdotool getwindowgeometry --shell "$win")"
  xdotool mousemove $((X + WIDTH - 12)) $((Y + 10)) click 1     # the About page'"'"'s X
  sleep 1
  xdotool mousemove $((X + WIDTH - 32)) $((Y + 12)) click 1     # "Get"
  sleep 4                                                       # transfer, "Success", 1.5 s
  import -window "$win" "$2/inbox.png"
  pkill -P "$demo" velkan-tessiver || true
  wait "$demo" 2>/dev/null || true
' _ "$root" "$out"
echo "$out/inbox.png"
