#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the Debian package from a build tree, installs it on this machine, checks what it
# installed and that the programs run from there (the desktop program under a virtual X server,
# started through an smsto: link as a desktop would start it), then removes the package and
# checks that nothing of it is left.
#
# Usage: scripts/package_test.sh [BUILD_DIR]      (default: build/default)
#
# Needs root or password-less sudo (it installs and removes the package) and the packages of
# scripts/setup.sh. Asks for nothing; any failure ends it with status 1 and a line starting
# "package_test: FAIL:", bad usage with status 2.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly package=velkan-tessiver
readonly link_number=+4930123456

step() { echo "package_test: $*"; }
fail() {
  echo "package_test: FAIL: $*" >&2
  exit 1
}

if [ $# -gt 1 ] || [ "${1-}" = "-h" ] || [ "${1-}" = "--help" ]; then
  echo "usage: scripts/package_test.sh [BUILD_DIR]   (default: build/default)" >&2
  exit 2
fi
build=${1:-build/default}
[[ $build = /* ]] || build=$root/$build
[ -f "$build/CMakeCache.txt" ] ||
  fail "$build is not a configured build directory (configure it first, e.g. cmake --preset default)"
if grep -q '^VELKAN_GUI:BOOL=OFF' "$build/CMakeCache.txt"; then
  fail "$build was configured with VELKAN_GUI=OFF; the package needs the desktop program"
fi

for tool in cmake cpack dpkg-deb dpkg-shlibdeps lintian apt-get desktop-file-validate appstreamcli man \
  xdg-open xdg-mime xvfb-run xwininfo od gzip; do
  command -v "$tool" >/dev/null || fail "$tool is missing: run scripts/setup.sh"
done

if [ "$(id -u)" -eq 0 ]; then
  SUDO=()
else
  command -v sudo >/dev/null || fail "not root and no sudo: the package cannot be installed"
  SUDO=(sudo -n)
fi
apt_get() {
  "${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get -y -q -o DPkg::Lock::Timeout=300 "$@"
}

work=$(mktemp -d "${TMPDIR:-/tmp}/velkan-package-test.XXXXXX")
installed=0
cleanup() {
  local status=$?
  if [ "$installed" -eq 1 ]; then
    step "removing the package after a failure"
    apt_get remove "$package" >/dev/null 2>&1 || true
  fi
  rm -rf "$work"
  exit "$status"
}
trap cleanup EXIT

is_installed() {
  dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed
}

# --- build the package ------------------------------------------------------------------------
step "building the programs and the man pages in $build"
cmake --build "$build" --target velkan-tessiver velkan velkan-phone-sim velkan_man_pages ||
  fail "the build failed in $build"
[ -f "$build/CPackConfig.cmake" ] || fail "$build has no CPackConfig.cmake (is packaging/ added?)"

step "making the Debian package"
(cd "$build" && cpack -G DEB -B "$work/out") >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log" >&2; fail "cpack could not make the package"; }
debs=("$work"/out/*.deb)
[ ${#debs[@]} -eq 1 ] && [ -f "${debs[0]}" ] || fail "cpack made ${#debs[@]} .deb files, not one"
deb=${debs[0]}
step "made $(basename "$deb")"

[ "$(dpkg-deb -f "$deb" Package)" = "$package" ] || fail "the package is not named $package"
version=$(dpkg-deb -f "$deb" Version)
depends=$(dpkg-deb -f "$deb" Depends)
for library in libqt6core6 libqt6gui6 libqt6widgets6 libqt6serialport6 libqt6dbus6 libsqlite3-0; do
  [[ ", $depends," == *", $library "* || ", $depends," == *", $library,"* ]] ||
    fail "the package does not depend on $library (Depends: $depends)"
done

# Debian's own checks: no error and no warning. An override would go in the package with a
# comment saying why; there is none.
step "lintian"
lintian_status=0
lintian --tag-display-limit 0 "$deb" >"$work/lintian.log" 2>&1 || lintian_status=$?
if grep -E '^[EW]: ' "$work/lintian.log"; then
  fail "lintian reports the errors or warnings above"
fi
# 1 means tags were found (only informational ones got here); more means it could not check.
[ "$lintian_status" -le 1 ] || { cat "$work/lintian.log" >&2; fail "lintian could not check the package"; }

# --- install it -------------------------------------------------------------------------------
if is_installed; then
  step "$package $(dpkg-query -W -f='${Version}' "$package") is installed already; it is replaced now and removed at the end"
fi
step "installing the package"
installed=1
apt_get install --no-install-recommends --reinstall "$deb" >"$work/install.log" 2>&1 ||
  { cat "$work/install.log" >&2; fail "apt-get could not install $deb"; }
is_installed || fail "dpkg does not list $package as installed"
mapfile -t package_files < <(dpkg -L "$package")

# The user side of the checks runs with folders of its own: no settings, store or desktop
# choices of the machine's user are read or changed.
home=$work/home
mkdir -p "$home/config" "$home/data" "$home/cache" "$home/runtime"
chmod 700 "$home/runtime"
run_as_user() {
  env -u DISPLAY -u WAYLAND_DISPLAY -u VELKAN_DATA_DIR -u XDG_CURRENT_DESKTOP -u DESKTOP_SESSION \
    -u KDE_FULL_SESSION -u GNOME_DESKTOP_SESSION_ID -u BROWSER -u LANGUAGE -u LC_MESSAGES \
    -u LANG HOME="$home" \
    XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" XDG_CACHE_HOME="$home/cache" \
    XDG_RUNTIME_DIR="$home/runtime" XDG_DATA_DIRS=/usr/local/share:/usr/share \
    XDG_CONFIG_DIRS=/etc/xdg LC_ALL=C.UTF-8 "$@"
}

# --- what is installed ------------------------------------------------------------------------
hash -r
for program in velkan-tessiver velkan velkan-phone-sim; do
  found=$(command -v "$program" || true)
  [ "$found" = "/usr/bin/$program" ] ||
    fail "$program is not found on PATH as /usr/bin/$program (found: ${found:-nothing})"
done

desktop=/usr/share/applications/velkan-tessiver.desktop
metainfo=/usr/share/metainfo/com.orvanesystems.VelkanTessiver.metainfo.xml
completion=/usr/share/bash-completion/completions/velkan
expected=(
  "$desktop" "$metainfo" "$completion"
  /usr/share/icons/hicolor/128x128/apps/velkan-tessiver.png
  /usr/share/icons/hicolor/256x256/apps/velkan-tessiver.png
  /usr/share/icons/hicolor/scalable/apps/velkan-tessiver.svg
  /usr/share/man/man1/velkan.1.gz
  /usr/share/man/man1/velkan-phone-sim.1.gz
  /usr/share/man/man1/velkan-tessiver.1.gz
  /usr/share/doc/velkan-tessiver/help/index.html
  /usr/lib/systemd/user/velkan-watch.service
)
for file in "${expected[@]}"; do
  [ -s "$file" ] || fail "$file is not installed (or empty)"
  dpkg -S "$file" 2>/dev/null | grep -q "^$package: " || fail "$file does not belong to $package"
done
step "all ${#expected[@]} files and the three programs are installed"
# The watch service is there for the user to turn on; installing it turns on nothing.
[ ! -e /etc/systemd/user/default.target.wants/velkan-watch.service ] ||
  fail "the package enabled velkan-watch.service; it is off until the user enables it"

desktop-file-validate "$desktop" || fail "$desktop is not a valid desktop entry"
grep -qx 'MimeType=x-scheme-handler/sms;x-scheme-handler/smsto;' "$desktop" ||
  fail "$desktop does not claim sms: and smsto: links"
grep -q '^Exec=velkan-tessiver %u$' "$desktop" || fail "$desktop does not pass the link to the program"
handler=$(run_as_user xdg-mime query default x-scheme-handler/smsto)
[ "$handler" = velkan-tessiver.desktop ] ||
  fail "the desktop's handler of smsto: links is '${handler}', not velkan-tessiver.desktop"

for size in 128 256; do
  png=/usr/share/icons/hicolor/${size}x$size/apps/velkan-tessiver.png
  read -r -a header < <(od -An -tu1 -w24 -N24 "$png")
  [ "${header[1]}${header[2]}${header[3]}" = "807871" ] || fail "$png is not a PNG file"
  width=$(((header[16] << 24) | (header[17] << 16) | (header[18] << 8) | header[19]))
  height=$(((header[20] << 24) | (header[21] << 16) | (header[22] << 8) | header[23]))
  [ "$width" -eq "$size" ] && [ "$height" -eq "$size" ] ||
    fail "$png is ${width}x$height, not ${size}x$size"
done
grep -q '<svg[^>]*viewBox=' /usr/share/icons/hicolor/scalable/apps/velkan-tessiver.svg ||
  fail "the scalable icon is not an SVG image with a viewBox"

appstreamcli validate --no-net "$metainfo" >"$work/appstream.log" 2>&1 ||
  { cat "$work/appstream.log" >&2; fail "$metainfo does not validate"; }
grep -q "<release version=\"$version\"" "$metainfo" ||
  fail "$metainfo has no release entry for the packaged version $version"
grep -q '<launchable type="desktop-id">velkan-tessiver.desktop</launchable>' "$metainfo" ||
  fail "$metainfo does not name the desktop entry"

for page in velkan velkan-phone-sim velkan-tessiver; do
  [ "$(run_as_user man -w "$page")" = "/usr/share/man/man1/$page.1.gz" ] ||
    fail "man does not find the page of $page"
  run_as_user env MANWIDTH=100 man --warnings -l "/usr/share/man/man1/$page.1.gz" \
    >"$work/$page.txt" 2>"$work/man.err" || fail "man cannot show the page of $page"
  [ ! -s "$work/man.err" ] || { cat "$work/man.err" >&2; fail "the page of $page has errors"; }
  grep -q "^NAME" "$work/$page.txt" && grep -q "^SEE ALSO" "$work/$page.txt" ||
    fail "the page of $page lacks its NAME or SEE ALSO section"
done
for section in "EXIT STATUS" ENVIRONMENT FILES; do
  grep -qx "$section" "$work/velkan.txt" || fail "the page of velkan has no $section section"
done
step "desktop entry, icons, metainfo and man pages are valid"

# --- the commands -----------------------------------------------------------------------------
help=$(run_as_user velkan --help) || fail "velkan --help failed"
grep -q '^Usage: velkan VERB' <<<"$help" || fail "velkan --help does not show its usage"
# The translations are built into the installed command.
run_as_user env LANGUAGE=de velkan --help | grep -q '^Aufruf: velkan VERB' ||
  fail "velkan --help with LANGUAGE=de is not German"
run_as_user env LANGUAGE=fr velkan --help | grep -q '^Utilisation.*: velkan VERBE' ||
  fail "velkan --help with LANGUAGE=fr is not French"
mapfile -t verbs < <(sed -n 's/^  velkan \([a-z-]*\).*/\1/p' <<<"$help" | sort -u)
[ ${#verbs[@]} -ge 5 ] || fail "velkan --help lists only ${#verbs[@]} verbs"
for verb in "${verbs[@]}"; do
  run_as_user velkan "$verb" --help | grep -q "^velkan $verb" || fail "velkan $verb --help failed"
  grep -Eq "^ {7}$verb( |$)" "$work/velkan.txt" ||
    fail "the man page of velkan does not describe the verb $verb"
done
status=0
run_as_user velkan no-such-verb >/dev/null 2>&1 || status=$?
[ "$status" -eq 2 ] || fail "velkan no-such-verb ended with $status, not 2"

sim_help=$(run_as_user velkan-phone-sim --help) || fail "velkan-phone-sim --help failed"
grep -q '^Usage: velkan-phone-sim' <<<"$sim_help" || fail "velkan-phone-sim --help shows no usage"

# The installed command reads a link as the desktop program does, and keeps a message in a store
# made in the test's own data folder.
parsed=$(run_as_user velkan smsto parse "smsto:$link_number") || fail "velkan smsto parse failed"
grep -q "\"number\":\"$link_number\"" <<<"$parsed" || fail "velkan read smsto:$link_number as $parsed"
id=$(run_as_user velkan compose --to "$link_number" --text "package test") ||
  fail "velkan compose could not store a message"
run_as_user velkan list outbox | grep -q "^ *$id .*package test" ||
  fail "the composed message $id is not listed in the Outbox"
[ -f "$home/data/velkan-tessiver/velkan.sqlite3" ] || fail "the store was not made in XDG_DATA_HOME"

# Completion: every verb of `velkan --help` is offered, and a verb's options after it.
completed=$(bash -c 'source "$1"; complete -p velkan >/dev/null || exit 1
  COMP_WORDS=(velkan ""); COMP_CWORD=1; _velkan; echo "${COMPREPLY[*]}"
  COMP_WORDS=(velkan list ""); COMP_CWORD=2; _velkan; echo "${COMPREPLY[*]}"' _ "$completion") ||
  fail "$completion does not register a completion for velkan"
first_line=$(head -1 <<<"$completed")
for verb in "${verbs[@]}"; do
  [[ " $first_line " == *" $verb "* ]] || fail "the completion does not offer the verb $verb"
done
[ "$(sed -n 2p <<<"$completed")" = "inbox outbox draft sent log --help" ] ||
  fail "the completion does not offer the folders after 'velkan list'"
step "velkan (${#verbs[@]} verbs), velkan-phone-sim and the completion work"

# --- the desktop program, started by an smsto: link ------------------------------------------
cat >"$work/gui.sh" <<'EOF'
# Runs inside xvfb-run: opens an smsto: link with xdg-open, as a desktop does when one is
# clicked, and checks that the installed program starts with it and shows its window.
set -u
number=$1 token=$2
fail() { echo "package_test: FAIL: $*" >&2; exit 1; }
program=""
cleanup() { if [ -n "$program" ]; then kill "$program" 2>/dev/null; fi; }
trap cleanup EXIT

xdg-open "smsto:$number" >"$VELKAN_TEST_DIR/opener.log" 2>&1 &
# Ours is the velkan-tessiver whose environment carries this run's token; other programs of the
# same name on this machine are left alone.
for _ in $(seq 100); do
  for dir in /proc/[0-9]*; do
    [ "$(cat "$dir/comm" 2>/dev/null)" = velkan-tessiver ] || continue
    tr '\0' '\n' <"$dir/environ" 2>/dev/null | grep -qx "VELKAN_PACKAGE_TEST_RUN=$token" || continue
    program=${dir#/proc/}
  done
  [ -n "$program" ] && break
  sleep 0.2
done
[ -n "$program" ] || { cat "$VELKAN_TEST_DIR/opener.log" >&2; fail "xdg-open smsto:$number did not start velkan-tessiver"; }
arguments=$(tr '\0' ' ' <"/proc/$program/cmdline")
[ "$arguments" = "velkan-tessiver smsto:$number " ] ||
  [ "$arguments" = "/usr/bin/velkan-tessiver smsto:$number " ] ||
  fail "velkan-tessiver was started as '$arguments', without the link"

window=""
for _ in $(seq 100); do
  window=$(xwininfo -root -tree | grep '"Velkan Tessiver": ("velkan-tessiver" "velkan-tessiver")')
  [ -n "$window" ] && break
  sleep 0.2
done
[ -n "$window" ] || fail "velkan-tessiver shows no window named Velkan Tessiver"
sleep 2
kill -0 "$program" 2>/dev/null || fail "velkan-tessiver ended soon after it showed its window"
echo "package_test: window:$window"

# A second link goes to the running program: the new start hands it over and ends at once.
timeout 30 xdg-open "smsto:+4930999999" >>"$VELKAN_TEST_DIR/opener.log" 2>&1 ||
  fail "the second link was not handed over to the running program (status $?)"
kill -0 "$program" 2>/dev/null || fail "velkan-tessiver ended when it was handed the second link"
kill "$program"
program=""
exit 0
EOF
token=$$-$RANDOM
step "starting velkan-tessiver through xdg-open smsto:$link_number under xvfb-run"
# A real X window, whatever platform the caller chose for its own Qt tests (the test command
# runs them offscreen).
run_as_user env VELKAN_PACKAGE_TEST_RUN="$token" VELKAN_TEST_DIR="$work" QT_QPA_PLATFORM=xcb \
  timeout 120 xvfb-run -a -s "-screen 0 1024x768x24" bash "$work/gui.sh" "$link_number" "$token" ||
  fail "the desktop program did not pass (see above)"
step "velkan-tessiver started by the link, showed its window and took a second link"

# --- remove it --------------------------------------------------------------------------------
step "removing the package"
apt_get remove "$package" >"$work/remove.log" 2>&1 ||
  { cat "$work/remove.log" >&2; fail "apt-get could not remove $package"; }
installed=0
! is_installed || fail "dpkg still lists $package as installed"
left=0
for file in "${package_files[@]}"; do
  if [ -f "$file" ] || [ -L "$file" ]; then
    echo "package_test: left behind: $file" >&2
    left=$((left + 1))
  fi
done
[ "$left" -eq 0 ] || fail "$left files of the package are still there after its removal"
for dir in /usr/share/doc/velkan-tessiver /usr/share/doc/velkan-tessiver/help; do
  [ ! -e "$dir" ] || fail "$dir is still there after the removal"
done
hash -r
! command -v velkan >/dev/null || fail "velkan is still on PATH after the removal"
handler=$(run_as_user xdg-mime query default x-scheme-handler/smsto || true)
[ "$handler" != velkan-tessiver.desktop ] ||
  fail "the desktop still names velkan-tessiver.desktop as the smsto: handler"
step "PASS: $package $version built, installed, checked and removed"
