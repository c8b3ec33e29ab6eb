// SPDX-License-Identifier: GPL-3.0-or-later
// Following one transfer from the command line (transfer_verbs.cpp): the session runs on its
// worker thread with the settings read as it starts, this thread prints its progress on stderr
// and says how it ended. `velkan send-get`, `send` and `resend` follow one run each;
// `velkan watch` follows one run per round.
#pragma once

#include <csignal>

class TransferSession;

struct FollowOptions {
    // Only what matters afterwards: warnings and a failure, not the status lines, the message
    // lines and "Success".
    bool quiet = false;
    // The run ends at once with kErrBusy (21), and says nothing of it, when another transfer
    // holds the store.
    bool skipIfBusy = false;
    // Set by the caller's own SIGINT and SIGTERM handlers: the run is cancelled once it is
    // set. Null: the follower catches SIGINT and SIGTERM itself for the run.
    const volatile std::sig_atomic_t* stop = nullptr;
};

// Runs the session to its end; the exit status (0 success, else the result code; 1 when the
// run ended without a code of its own).
int FollowTransfer(TransferSession& session, const FollowOptions& options = {});

// Installs the clock of VELKAN_CLOCK_STEP_MS (tests); true when that clock is in use.
bool UseClockFromEnvironment();
