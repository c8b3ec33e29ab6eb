// SPDX-License-Identifier: GPL-3.0-or-later
// Reading the parameters of an AT command line: case outside quotes, blanks, commas, numbers and
// quoted strings, and the character sets that AT+CSCS chooses for strings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace phone_sim {

char Upper(char c);
// Commands are case-insensitive; quoted parameters keep their case.
std::string UpperOutsideQuotes(std::string_view text);
std::string_view Trim(std::string_view text);
// Splits at `separator` where it is not inside quotes.
std::vector<std::string_view> SplitOutsideQuotes(std::string_view text, char separator);
// A plain decimal number (no sign, at most 9 digits).
bool ParseNumber(std::string_view text, unsigned* value);
// A parameter, quoted or not, without its quotes.
bool Unquote(std::string_view text, std::string* out);

// A string of the phone's in the character set `set` (an AT+CSCS name): "HEX" writes every
// byte as two hex digits, "UCS2" every character as four; the others carry ASCII unchanged.
// `text` is ASCII.
std::string ToCharacterSet(std::string_view text, std::string_view set);
// The reverse: false when `text` is not valid in `set` or names a character beyond ASCII.
bool FromCharacterSet(std::string_view text, std::string_view set, std::string* out);

}  // namespace phone_sim
