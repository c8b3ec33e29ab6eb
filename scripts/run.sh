#!/usr/bin/env bash
# Builds the program and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc 2>/dev/null || echo 2)"

exec build/default/src/cli/velkan --help
