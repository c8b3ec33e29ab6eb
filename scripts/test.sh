#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the default build, its Debian package
# and a short run of the benchmarks; the threaded core (worker thread, transfer session, shared
# message store) under ThreadSanitizer; then every test again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

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

# Only the tests whose code shares data between threads; the rest gains nothing from TSan and
# would double the build time.
echo "== tsan build (threaded core)"
cmake --preset tsan >/dev/null
tsan_tests=(tests/session/session_tests tests/session/transfer_session_tests tests/store/store_tests)
cmake --build --preset tsan -j "$jobs" --target velkan-phone-sim \
  session_tests transfer_session_tests store_tests
echo "== tsan tests"
for t in "${tsan_tests[@]}"; do
  TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" "build/tsan/$t" --gtest_brief=1
done

echo "== asan build"
cmake --preset asan >/dev/null
cmake --build --preset asan -j "$jobs"
echo "== asan tests"
ctest --preset asan -j "$jobs"
