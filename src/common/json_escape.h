// SPDX-License-Identifier: GPL-3.0-or-later
// One character of a JSON string, as both the command's output and the store's export write
// it: the quote, the backslash and the control characters escaped, everything else as UTF-8.
#pragma once

#include <cstdint>
#include <string>

void AppendJsonCharacter(std::string* out, std::uint32_t codePoint);
