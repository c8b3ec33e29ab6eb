# SPDX-License-Identifier: GPL-3.0-or-later
# Fails the build when a translation file holds an entry nobody has translated yet, so that no
# release shows English in the middle of German or French windows. scripts/update_translations.sh
# refreshes the files and says how to fill in what it adds.
#
#   cmake -DTS_FILES="a.ts|b.ts" -DSTAMP=file -P check_ts_finished.cmake
string(REPLACE "|" ";" ts_files "${TS_FILES}")
foreach(ts IN LISTS ts_files)
  file(STRINGS "${ts}" unfinished REGEX "type=\"unfinished\"")
  list(LENGTH unfinished count)
  if(count GREATER 0)
    message(FATAL_ERROR "${ts}: ${count} entries are not translated yet; translate them "
                        "(see scripts/update_translations.sh) before building")
  endif()
endforeach()
file(WRITE "${STAMP}" "")
