#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the default build, then the same tests
# under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

for preset in default asan; do
  echo "== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset tests"
  ctest --preset "$preset" -j "$jobs"
done
