#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages that building, running and testing need.
# Idempotent: asks dpkg first and calls apt-get only for what is missing.
# Only ever installs, never removes, and never pulls in recommended extras.
set -euo pipefail

packages=(
  # toolchain
  build-essential cmake ninja-build pkg-config
  # the layout check of the sources
  clang-format
  clang libclang-rt-dev
  # Qt 6: Core for settings, Widgets for the user interface, SerialPort for the port list
  qt6-base-dev qt6-base-dev-tools libxkbcommon-dev qt6-serialport-dev libgl-dev
  # Qt 6's linguist tools: lrelease builds the translations, lupdate keeps them in step
  qt6-tools-dev qt6-l10n-tools
  # the message store
  libsqlite3-dev sqlite3
  # tests and benchmarks
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  # end-to-end tests: pseudo-terminals, a virtual X server, screenshots, fonts
  socat xvfb xauth x11-apps imagemagick xdotool fonts-dejavu-core fonts-liberation
  # the Debian package and its test: building it (dpkg-deb, dpkg-shlibdeps for the library
  # dependencies), Debian's own checks (lintian), checking the desktop entry and the metainfo,
  # reading the man pages,
  # opening an sms: link as the desktop would, and finding the program's window
  dpkg-dev fakeroot desktop-file-utils appstream man-db xdg-utils x11-utils lintian
  # interoperability tests: two independent GSM 07.07/07.05 clients (gammu, smstools' smsd)
  # run against the simulated phone
  gammu smstools
  # the round trips of export and import, read back by Python's own XML and mailbox modules
  python3
  # codec tests: PDUs of an independent encoder and decoder (gammu's Python binding)
  python3-gammu
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then
  SUDO=()
else
  SUDO=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
