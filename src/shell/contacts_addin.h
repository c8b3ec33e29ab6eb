// SPDX-License-Identifier: GPL-3.0-or-later
// Registration of the program as the handler of sms: and smsto: links.
//
// On the desktop the role of a contacts add-in is played by a desktop entry: when the program's
// own entry ("velkan-tessiver.desktop") is installed beside it, the program registers an entry
// of its own in the user's data folder that names the current program file as the handler of
// sms: and smsto: links, so that address books, browsers and other programs can hand a number
// over; the link arrives as the command line (see smsto.h). When the program's entry is gone,
// a registration left from an earlier start is removed, so that no desktop offers a handler
// that was uninstalled. The program's own path is recorded in the settings ("Exe") at every
// start. Every failure is silent.
#pragma once

#include <string>

// The registration's file name in "<data home>/applications".
inline constexpr char kHandlerEntryName[] = "velkan-tessiver-smsto.desktop";
// The program's own desktop entry, whose presence beside the program means it is installed.
inline constexpr char kProgramEntryName[] = "velkan-tessiver.desktop";

// The running program's file (/proc/self/exe); empty when it cannot be found.
std::string ProgramFilePath();
// $XDG_DATA_HOME when it is an absolute path, else ~/.local/share; empty without a home.
std::string XdgDataHome();

// The program's installed desktop entry for the program file `exePath`: in
// "../share/applications" relative to the program's folder, or in that folder itself. Empty
// when neither exists. An empty `exePath` looks in the current folder only.
std::string FindProgramEntry(const std::string& exePath);

// "<dataHome>/applications/velkan-tessiver-smsto.desktop"; empty for an empty dataHome.
std::string HandlerEntryPath(const std::string& dataHome);

// The text of the registration for the program file `exePath`; empty when the path cannot be
// written into a desktop entry (empty, relative, or with a control character).
std::string HandlerEntryText(const std::string& exePath);

// One registration run for the given program file and data folder: writes "Exe", then writes
// or removes the handler entry.
void RegisterContactsAddIn(const std::string& exePath, const std::string& dataHome);
// The same for the running program and the user's data folder; run once per start.
void RegisterContactsAddIn();
