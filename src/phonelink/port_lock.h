// SPDX-License-Identifier: GPL-3.0-or-later
// Keeping a serial port to ourselves, and naming who has it when we cannot.
//
// Two programs talking to one modem at once garble each other's commands; on most Linux
// desktops ModemManager probes every USB modem it sees. A port is taken with TIOCEXCL (no
// further opens, but for root) and an exclusive flock on the open device (what terminal
// programs such as picocom take); a UUCP-style lock file of another program ("LCK..ttyUSB0" in
// /run/lock or /var/lock, as minicom and lockdev write them) is honoured too. A port that is
// held fails at once, and the holder is named when /proc shows it.
#pragma once

#include <cstddef>

// Looks for a live lock file of another process for the device; true when one holds it, with
// its pid in *pid.
bool PortLockFileHolder(const char* devicePath, int* pid);

// The process, other than this one, that has the device open, as "name (pid N)"; an empty
// string when none can be found (another user's processes cannot be seen).
void PortHolderDescription(const char* devicePath, int knownPid, char* out, std::size_t size);

// Takes the exclusive flock of an open device; false when another open file holds it.
bool TakePortFlock(int fd);
