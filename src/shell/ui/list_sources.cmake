# SPDX-License-Identifier: GPL-3.0-or-later
# The message list and the progress dialog of a transfer.
list(APPEND SHELL_LIST_SOURCES
  qt_notification_sink.cpp
  progress_dialog.cpp
  message_list_model.cpp
  message_row_delegate.cpp
  message_list_view.cpp
)
