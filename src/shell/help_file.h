// SPDX-License-Identifier: GPL-3.0-or-later
// The manual: an HTML file installed with the program, shown by the desktop's viewer.
#pragma once

#include <string>

// The manual's first page for the program file `exePath`: installed in
// "../share/doc/velkan-tessiver/help/index.html" relative to the program's folder, or, for a
// program that runs from its build tree, "docs/help/index.html" in the source tree it was built
// from. Empty when neither exists.
std::string FindManual(const std::string& exePath);
