# SPDX-License-Identifier: GPL-3.0-or-later
# The program's start, frame window, About page, single instance and help (the message list and
# the progress dialog are listed in list_sources.cmake).
list(APPEND SHELL_APP_SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/application.cpp
  ${CMAKE_CURRENT_LIST_DIR}/application.h
  ${CMAKE_CURRENT_LIST_DIR}/main_window.cpp
  ${CMAKE_CURRENT_LIST_DIR}/main_window.h
  ${CMAKE_CURRENT_LIST_DIR}/about_page.cpp
  ${CMAKE_CURRENT_LIST_DIR}/about_page.h
  ${CMAKE_CURRENT_LIST_DIR}/single_instance.cpp
  ${CMAKE_CURRENT_LIST_DIR}/single_instance.h
  ${CMAKE_CURRENT_LIST_DIR}/help.cpp
  ${CMAKE_CURRENT_LIST_DIR}/help.h
)

# The images (About logo, program icon) are compiled into velkan_images; the shell links them
# once its library exists, at the end of this folder.
cmake_language(DEFER CALL target_link_libraries velkan_shell_ui PUBLIC velkan_images)

# Installed layout: the program in bin/, its desktop entry in share/applications/ (whose
# presence makes the program register itself as the sms: and smsto: link handler), the icon,
# and the manual in share/doc/velkan-tessiver/help/ (where F1 looks for it).
include(GNUInstallDirs)
cmake_language(DEFER CALL install TARGETS velkan-tessiver RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/velkan-tessiver.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
foreach(size 128x128 256x256)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/icons/${size}/velkan-tessiver.png
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}/apps)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/help/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/velkan-tessiver/help)
