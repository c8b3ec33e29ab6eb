// SPDX-License-Identifier: GPL-3.0-or-later
// F1: the manual, shown by the desktop's viewer for HTML files.
#pragma once

#include <QUrl>
#include <functional>

// Opens the manual (help_file.h) without waiting for the viewer and without a shell. False when
// no manual is found or the desktop has no viewer; failures are silent otherwise.
bool OpenManual();

// How a URL is opened; tests replace it (null restores the desktop's). Returns the previous.
using UrlOpener = std::function<bool(const QUrl& url)>;
UrlOpener SetUrlOpener(UrlOpener opener);
