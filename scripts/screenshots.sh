#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Takes screenshots of the program's screens into docs/help/images/, under a virtual X server so that
# real fonts and window decorations are used. Rerunnable: the images are simply replaced.
#
#   scripts/screenshots.sh            build, then take the screenshots
#   scripts/screenshots.sh --no-build
#
# docs/help/images/about.png, about-wide.png   the About page, drawn by the program itself
# docs/help/images/start.png                   the whole virtual screen while the program starts
# docs/help/images/progress.png, inbox.png, search.png, read.png, compose.png, picker.png,
# connection.png, preferences.png         the demo (scripts/run.sh) screen by screen
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
out=$root/docs/help/images
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

# The demo as a newcomer sees it, screen by screen, driven with the mouse and the keyboard:
# the progress of "Get", the Inbox it filled, a search in it, a message opened, a new message
# being written, the contact picker, the connection and preferences dialogs. Positions are those
# of the screens' templates in the default frame size. The demo keeps its own folders under
# build/demo; start them afresh so the Inbox is empty before "Get".
rm -rf "$root/build/demo"
xvfb-run -a -s "-screen 0 800x600x24" bash -c '
  set -e
  out=$2
  "$1/scripts/run.sh" --no-build >/dev/null 2>&1 &
  demo=$!
  for _ in $(seq 100); do
    win=$(xdotool search --onlyvisible --name "^Velkan Tessiver$" 2>/dev/null | head -1) &&
      [ -n "$win" ] && break
    sleep 0.1
  done
  [ -n "$win" ] || { echo "screenshots.sh: the program did not open its window" >&2; exit 1; }
  sleep 1
  eval "$(xdotool getwindowgeometry --shell "$win")"
  click() { xdotool mousemove $((X + $1)) $((Y + $2)) click 1; sleep "${3:-0.8}"; }
  # The frame'"'"'s area of the screen: dialogs of their own stand over it.
  shot() {
    import -window root -crop "${WIDTH}x${HEIGHT}+${X}+${Y}" +repage "$out/$1.png"
    echo "$out/$1.png"
  }
  bottom=$((HEIGHT - 12))
  click $((WIDTH - 12)) 10                   # the About page'"'"'s X
  click $((WIDTH - 32)) 12 0.3               # "Get"
  shot progress
  sleep 4                                    # the transfer, "Success", and 1.5 s
  shot inbox
  xdotool key ctrl+f; sleep 0.3              # Find: the search field
  xdotool type --delay 10 "4930"; sleep 0.5
  shot search
  xdotool key Escape; sleep 0.5              # the whole Inbox again
  click 100 80                               # the second message
  shot read
  click 41 485                               # OK
  click 22 "$bottom"                         # New
  click 220 61 0.1
  xdotool type --delay 10 "+49 30 7654321"
  click 175 245 0.1
  xdotool type --delay 10 "See you at the station at eight."
  sleep 0.3
  shot compose
  click 35 13                                # the Name button: the contact picker
  shot picker
  xdotool key Escape; sleep 0.5
  click 311 518                              # Cancel
  click 122 "$bottom" 0.5                    # Options
  click 152 503                              # Connection
  shot connection
  xdotool key Escape; sleep 0.5
  click 122 "$bottom" 0.5
  click 152 525                              # Preferences
  shot preferences
  xdotool key Escape; sleep 0.3
  pkill -P "$demo" velkan-tessiver || true
  wait "$demo" 2>/dev/null || true
' _ "$root" "$out"
