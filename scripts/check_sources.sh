#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Checks what every source file owes the project: the licence line (SPDX) near its top, and, for
# C++, the layout of .clang-format; and that the translations are complete and in step with the
# sources (scripts/update_translations.sh --check). Prints what falls short and exits 1 if any does.
#
# Usage: scripts/check_sources.sh        (from anywhere in the checkout)
set -euo pipefail
cd "$(dirname "$0")/.."

status=0
# Source files: C++, CMake, shell, Python, the configure templates and the build's own scripts.
mapfile -t sources < <(git ls-files -- '*.cpp' '*.h' '*.inc' 'CMakeLists.txt' '*/CMakeLists.txt' \
  '*.cmake' '*.sh' '*.py' '*.h.in' '.ci/run' | grep -v '^tests/fuzz/corpus/')
for f in "${sources[@]}"; do
  if ! head -n 3 "$f" | grep -q 'SPDX-License-Identifier: GPL-3.0-or-later'; then
    echo "no SPDX licence line in its first three lines: $f"
    status=1
  fi
done

mapfile -t cxx < <(git ls-files -- '*.cpp' '*.h')
if ! clang-format --dry-run -Werror "${cxx[@]}" 2>"${TMPDIR:-/tmp}/clang-format.$$"; then
  grep -E '^[^ ].*: (error|warning):' "${TMPDIR:-/tmp}/clang-format.$$" | cut -d: -f1 | sort -u |
    sed 's/^/not formatted as .clang-format says (run clang-format -i): /'
  status=1
fi
rm -f "${TMPDIR:-/tmp}/clang-format.$$"
if ! scripts/update_translations.sh --check; then
  status=1
fi
if [ "$status" -eq 0 ]; then
  echo "sources: ${#sources[@]} files carry the licence line, ${#cxx[@]} C++ files are formatted"
fi
exit "$status"
