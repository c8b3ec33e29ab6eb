# SPDX-License-Identifier: GPL-3.0-or-later
# The message list and the progress dialog of a transfer.
list(APPEND SHELL_LIST_SOURCES
  template_units.cpp
  qt_notification_sink.cpp
  progress_dialog.cpp
  message_list_model.cpp
  message_row_delegate.cpp
  message_list_view.cpp
)

# The list opens the compose and read dialog and the contact picker; linked once the shell's
# library exists, at the end of this folder.
cmake_language(DEFER CALL target_link_libraries velkan_shell_ui PUBLIC velkan_compose_ui)
