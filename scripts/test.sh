#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs what is missing, checks the sources (licence lines, clang-format), builds, and runs
# every test: the default build, its Debian package and a short run of the benchmarks; the
# threaded core (worker thread, transfer session, shared message store, the progress dialog)
# under ThreadSanitizer; a short run of every fuzzer; then every test again under
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

# Every source file carries its licence line and the layout of .clang-format.
echo "== sources"
scripts/check_sources.sh

echo "== default build"
cmake --preset default >/dev/null
cmake --build --preset default -j "$jobs"
echo "== default tests"
ctest --preset default -j "$jobs"

# The Debian package: built from the default tree, installed, checked, started, removed. It
# installs on this machine, so it runs only where that is allowed (root, or sudo without a
# password).
echo "== package"
if [ "$(id -u)" -eq 0 ] || sudo -n true 2>/dev/null; then
  scripts/package_test.sh build/default
else
  echo "package test skipped: installing a package needs root or sudo without a password"
fi

# The benchmarks in a short mode: they must run and finish; their figures here are no measure
# (see docs/PERFORMANCE.md for those). The paced transfers take a minute and are left out.
echo "== benchmarks (short)"
for b in pdu store message_list contact_picker; do
  "build/default/bench/velkan_${b}_bench" --benchmark_min_time=0.01
done
build/default/bench/velkan_transfer_bench --benchmark_filter='paced:0'

# Only the tests whose code shares data between threads (the worker, the session, the shared
# store, and the progress dialog handling a worker's notifications); the rest gains nothing
# from TSan and would double the build time. Debian's Qt is not built for TSan: the
# suppressions file says what of it is left out and why.
echo "== tsan build (threaded core and the progress dialog)"
cmake --preset tsan >/dev/null
tsan_tests=(tests/session/session_tests tests/session/transfer_session_tests tests/store/store_tests
            tests/shell/list/shell_progress_dialog_tests
            tests/shell/list/shell_progress_dialog_live_tests
            tests/shell/list/shell_message_list_exchange_tests)
cmake --build --preset tsan -j "$jobs" --target velkan-phone-sim "${tsan_tests[@]##*/}"
echo "== tsan tests"
for t in "${tsan_tests[@]}"; do
  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tests/tsan/qt.supp" \
    "build/tsan/$t" $([[ $t == *shell* ]] || echo --gtest_brief=1)
done

# A short run of every fuzzer (about 10 s each, as many at once as there are cores), each on a
# scratch copy of its corpus: new inputs never go back into the repository from here. A crash, a
# leak, a sanitizer report or an input slower than the time-out fails the script; the input
# that did it is kept under build/fuzz/findings/.
echo "== fuzz build"
cmake --preset fuzz >/dev/null
fuzzers=(decode_pdu hex_to_bytes line_cutter cmgl_listing cpms_response vcard smsto hand_over
         transfer csv_import json_import xml_import)
cmake --build --preset fuzz -j "$jobs" --target "${fuzzers[@]/#/fuzz_}"
echo "== fuzz runs"
fuzz_scratch=$(mktemp -d)
trap 'rm -rf "$fuzz_scratch"' EXIT
mkdir -p build/fuzz/findings
run_fuzzer() {
  local name=$1 dir="$fuzz_scratch/$1"
  mkdir "$dir"
  cp tests/fuzz/corpus/"$name"/* "$dir"/
  if "build/fuzz/tests/fuzz/fuzz_$name" -max_total_time=10 -timeout=5 \
      -artifact_prefix="build/fuzz/findings/$name-" "$dir" >"$dir.log" 2>&1; then
    echo "fuzz_$name: $(grep -E '^#[0-9]+.*DONE' "$dir.log" | tail -1)"
  else
    tail -n 40 "$dir.log"
    echo "fuzz_$name: finding (input kept under build/fuzz/findings/)"
    return 1
  fi
}
fuzz_failed=0
running=0
for f in "${fuzzers[@]}"; do
  if [ "$running" -ge "$jobs" ]; then
    wait -n || fuzz_failed=1
    running=$((running - 1))
  fi
  run_fuzzer "$f" &
  running=$((running + 1))
done
while [ "$running" -gt 0 ]; do
  wait -n || fuzz_failed=1
  running=$((running - 1))
done
rm -rf "$fuzz_scratch"
trap - EXIT
if [ "$fuzz_failed" -ne 0 ]; then
  echo "fuzzing found a problem"
  exit 1
fi

echo "== asan build"
cmake --preset asan >/dev/null
cmake --build --preset asan -j "$jobs"
echo "== asan tests"
# The kill -9 soak has done its 10 rounds in the default build; here a few rounds show the
# sanitizers have nothing to say about a killed run, and keep the whole command well under 30
# minutes.
VELKAN_KILL_RUNS=4 ctest --preset asan -j "$jobs"
