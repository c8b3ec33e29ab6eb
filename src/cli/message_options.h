// SPDX-License-Identifier: GPL-3.0-or-later
// The options that describe a new message, shared by `velkan compose` and `velkan send`.
#pragma once

#include <cstddef>
#include <string>

#include "pdu/codec_options.h"

struct MessageOptions {
    const char* to = nullptr;
    const char* text = nullptr;
    const char* name = nullptr;
    int flash = -1;  // -1: neither --flash nor --no-flash, so the Flash setting decides
};

enum class OptionTaken { kNo, kYes, kUsageError };

// Takes argv[*i] when it is --to, --text or --name (with its value, advancing *i) or --flash or
// --no-flash. kNo leaves it to the verb; kUsageError means the message was printed and the
// verb returns 2.
OptionTaken TakeMessageOption(const char* verb, int argc, char** argv, int* i,
                              MessageOptions* options);

// Whether a new message goes as a flash message: as the options say, else as the Flash
// setting says (the compose window starts a new message the same way).
bool FlashOf(const MessageOptions& options);

// How the settings `Unicode` and `LongSms` say a text goes (both off when they cannot be read).
CodecOptions CodecOptionsOfSettings();

// Cuts `text` to what may be sent with `options`, as the compose window cuts typed text: with
// both options off the 160-character rule (carriage returns not counted), otherwise as many
// characters as the alphabet and the parts allowed hold. *kept is then the limit that was
// applied, in characters. True when something was cut.
bool CutToMessage(std::u16string& text, const CodecOptions& options, std::size_t* kept);
