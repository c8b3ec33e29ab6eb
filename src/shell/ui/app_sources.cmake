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
