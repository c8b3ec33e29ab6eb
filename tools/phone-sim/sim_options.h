// SPDX-License-Identifier: GPL-3.0-or-later
// Command-line options of velkan-phone-sim.
#pragma once

#include <string>
#include <vector>

#include "phone_model.h"

namespace phone_sim {

struct SimOptions {
    bool help = false;
    bool pty = false;                // a pseudo-terminal instead of a TCP port
    std::string host = "127.0.0.1";  // --listen HOST:PORT
    unsigned port = 4000;
    std::vector<std::string> messageFiles;
    std::vector<std::string> quickMessages;  // --sms MEM:NUMBER:TEXT
    unsigned generate = 0;
    std::string statePath;
    std::string logPath;  // "-" for stderr
    bool byteAtATime = false;
    unsigned baud = 0;           // 0: no pacing
    unsigned injectEveryMs = 0;  // --inject-every: a message arrives this often (0: never)
    std::string controlPath;     // --control: Unix socket whose lines are arriving messages
    Knobs knobs;
};

// Parses argv[1..argc-1]. False with `error` set for an unknown option, a missing or bad value.
bool ParseOptions(int argc, const char* const* argv, SimOptions* options, std::string* error);

// The text of --help: every option and the stored messages file's format.
const char* HelpText();

}  // namespace phone_sim
