# SPDX-License-Identifier: GPL-3.0-or-later
# The phone side and the transfer session are plain C++ and must build and run without Qt. This
# check fails the configuration when one of the named targets links a Qt target or library,
# directly or through anything it links (private links of static libraries included).
#
#   velkan_require_no_qt(<target>...)
#
# Call it once every target is defined; src/CMakeLists.txt defers it to the end of the
# configuration, so that links added later in other folders are seen too.

# The Qt names among the links of `target` and of everything it links, each with the chain of
# targets through which it comes, into `out`.
function(velkan_qt_links target out)
  set(pending ${target})
  set(seen)
  set(found)
  string(MAKE_C_IDENTIFIER "${target}" key)
  set(chain_${key} "${target}")
  while(pending)
    list(POP_FRONT pending item)
    string(MAKE_C_IDENTIFIER "${item}" key)
    set(chain "${chain_${key}}")
    # A static library passes on its private links as $<LINK_ONLY:...>.
    string(REGEX REPLACE "^\\$<LINK_ONLY:(.+)>$" "\\1" name "${item}")
    if(name IN_LIST seen)
      continue()
    endif()
    list(APPEND seen "${name}")
    # Qt's targets (Qt6::Core, Qt::Widgets), also inside a generator expression, and its
    # libraries named by path (libQt6Core.so).
    if(name MATCHES "(^|[^A-Za-z0-9_])Qt[0-9]*::" OR name MATCHES "(^|[/\\\\])(lib)?Qt[0-9]+[A-Za-z]")
      list(APPEND found "${name} (${chain})")
      continue()
    endif()
    if(NOT TARGET "${name}")
      continue()
    endif()
    get_target_property(type "${name}" TYPE)
    set(links)
    if(NOT type STREQUAL "INTERFACE_LIBRARY")
      get_target_property(direct "${name}" LINK_LIBRARIES)
      if(direct)
        list(APPEND links ${direct})
      endif()
    endif()
    get_target_property(interface "${name}" INTERFACE_LINK_LIBRARIES)
    if(interface)
      list(APPEND links ${interface})
    endif()
    foreach(link IN LISTS links)
      # Markers of the folder a link was added from, not links.
      if(link MATCHES "^::@")
        continue()
      endif()
      string(MAKE_C_IDENTIFIER "${link}" key)
      if(NOT DEFINED chain_${key})
        string(REGEX REPLACE "^\\$<LINK_ONLY:(.+)>$" "\\1" shown "${link}")
        set(chain_${key} "${chain} -> ${shown}")
      endif()
      list(APPEND pending "${link}")
    endforeach()
  endwhile()
  set(${out} "${found}" PARENT_SCOPE)
endfunction()

function(velkan_require_no_qt)
  foreach(target IN LISTS ARGN)
    if(NOT TARGET ${target})
      message(FATAL_ERROR "velkan_require_no_qt: there is no target ${target}")
    endif()
    velkan_qt_links(${target} qt)
    if(qt)
      list(JOIN qt "\n  " listed)
      message(FATAL_ERROR "${target} must not link Qt, but it links:\n  ${listed}")
    endif()
  endforeach()
endfunction()
