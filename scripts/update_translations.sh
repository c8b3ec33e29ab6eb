#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Brings the translations (translations/velkan-tessiver_*.ts) up to date with the sources: the
# string table (src/resources/strings.inc, each entry with its ID as the disambiguation and its
# comment as the note for the translator), the windows' tr() calls and the `velkan` command's
# Translate("velkan", ...) messages. New texts come in as unfinished entries, texts that are
# gone are dropped. Needs Qt 6's lupdate (Debian: qt6-l10n-tools).
#
# After merging work that adds or changes texts:
#   1. scripts/update_translations.sh
#   2. translate every entry marked <translation type="unfinished"> in each .ts file (with
#      Qt Linguist, or in an editor: write the text and delete type="unfinished"); keep the
#      placeholders (%d, %s, %u, %1), "&&", "&" and "\n" as the English text has them
#   3. scripts/update_translations.sh --check   (scripts/check_sources.sh runs it too)
#
# Usage: scripts/update_translations.sh [--check]
#   --check  changes nothing; exits 1 when a .ts file lacks a text of the sources, keeps one
#            that is gone, has an entry without its translation, or a translation that lost
#            a placeholder, an "&" mark or a line break of its English text.
set -euo pipefail
cd "$(dirname "$0")/.."

lupdate=$(command -v lupdate6 || command -v /usr/lib/qt6/bin/lupdate || command -v lupdate || true)
if [ -z "$lupdate" ]; then
  echo "update_translations: lupdate of Qt 6 is missing (Debian package qt6-l10n-tools)" >&2
  exit 1
fi

check=0
if [ "${1:-}" = "--check" ]; then
  check=1
elif [ $# -gt 0 ]; then
  echo "usage: scripts/update_translations.sh [--check]" >&2
  exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The string table is data, not tr() calls: each entry becomes a QT_TRANSLATE_NOOP3 line that
# lupdate reads, in the context "strings" with the ID as the disambiguation (the lookup in
# src/resources/translations.cpp asks for the same), and its comment as a note for the translator.
sed -nE 's|^\{([0-9]+), u(".*")\},[[:space:]]*(//[[:space:]]*(.*))?$|//: \4\nQT_TRANSLATE_NOOP3("strings", \2, "\1");|p' \
  src/resources/strings.inc >"$work/string_table.cpp"
entries=$(grep -c '^{[0-9]' src/resources/strings.inc)
found=$(grep -c '^QT_TRANSLATE_NOOP3' "$work/string_table.cpp")
if [ "$entries" != "$found" ]; then
  echo "update_translations: read $found of the $entries entries of src/resources/strings.inc" >&2
  exit 1
fi

mapfile -t ts_files < <(ls translations/velkan-tessiver_*.ts)
targets=()
for ts in "${ts_files[@]}"; do
  if [ "$check" -eq 1 ]; then
    cp "$ts" "$work/$(basename "$ts")"
    targets+=("$work/$(basename "$ts")")
  else
    targets+=("$ts")
  fi
done

"$lupdate" -silent -locations none -no-obsolete -extensions cpp,h \
  -tr-function-alias translate+=Translate \
  src "$work/string_table.cpp" -ts "${targets[@]}"

if [ "$check" -eq 0 ]; then
  for ts in "${ts_files[@]}"; do
    echo "$ts: $(grep -c '<translation type="unfinished"' "$ts" || true) unfinished"
  done
  exit 0
fi

status=0
for ts in "${ts_files[@]}"; do
  copy="$work/$(basename "$ts")"
  if ! cmp -s "$ts" "$copy"; then
    echo "$ts is out of step with the sources (run scripts/update_translations.sh):"
    diff -u "$ts" "$copy" | grep -E '^[-+] *<source>' | head -20 || true
    status=1
  fi
  unfinished=$(grep -c -E '<translation type="(unfinished|vanished|obsolete)"' "$copy" || true)
  if [ "$unfinished" -gt 0 ]; then
    echo "$ts: $unfinished entries are not translated:"
    grep -B3 -E '<translation type="(unfinished|vanished|obsolete)"' "$copy" |
      grep '<source>' | head -20
    status=1
  fi
done
python3 scripts/check_translation_marks.py "${ts_files[@]}" || status=1
[ "$status" -eq 0 ] && echo "translations: ${ts_files[*]} are complete and up to date"
exit "$status"
