// SPDX-License-Identifier: GPL-3.0-or-later
// The "/smsto:" command line: how other programs (and a second start of this one) hand a
// recipient to the program.
//
// Form: an optional double quote, a scheme text, ':', the recipient's number, optionally '?'
// and the recipient's name, an optional closing double quote:
//     "/smsto:+4917212345?Domarfle"
// The message text is never carried: the name only labels the recipient.
//
// The program's own arguments may also be a standard link (a desktop hands those over when
// the program is the handler of sms: and smsto: links); CommandLineFromArguments turns those
// into the form above, so that everything after it sees one form only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "framework/text_buffer.h"

// Splits a command line into number and name. False when it has no ':' or when a '?' stands
// directly behind the ':' (no number). The number is normalised (digits and one leading '+');
// it may come out empty, which still counts as a number part. The scheme is not checked.
bool ParseSmsTo(const TextBuffer& commandLine, TextBuffer& number, TextBuffer& name);

// The inverse of ParseSmsTo: "\"/smsto:NUMBER?NAME\"" with the number normalised and every
// character of "\r\n\t\"?<>" removed from the name; without "?NAME" when the cleaned name is
// empty.
void BuildSmsTo(TextBuffer& commandLine, const TextBuffer& name, const TextBuffer& number);

// True when `text` starts with the scheme "sms:" or "smsto:" (any case). "/smsto:" (with the
// slash) is the program's own form and not a link.
bool IsSmsLink(std::u16string_view text);

// Converts a standard link into the program's own form (as BuildSmsTo writes it); false, and
// `commandLine` unchanged, when `link` is not one (IsSmsLink).
//
//   sms:+123?body=hi        → number +123; the body is dropped (texts never travel this way)
//   sms:+1,+2               → the first recipient only: +1
//   sms:%2B49%20172         → percent escapes decoded (UTF-8): +49172
//   sms:+49172;foo=bar      → recipient parameters (after ';') dropped: +49172
//   smsto:+123              → +123
//   SMSTO:+123:Meet at 5    → +123; the text after a second ':' (QR code form) is dropped
//   smsto:0123?Anna         → number 0123, name Anna: a query part without '=' is the name,
//                             so the program's own form written without its slash still works
//   sms://+123              → +123 (a "//" some senders put behind the scheme is ignored)
bool SmsLinkToCommandLine(std::u16string_view link, TextBuffer& commandLine);

// The command line of a start of the program from its arguments (program name excluded):
// the arguments joined with single blanks, as one command line of the platform would read;
// a standard link is converted (SmsLinkToCommandLine). No arguments give the empty text.
void CommandLineFromArguments(const std::vector<std::u16string>& arguments,
                              TextBuffer& commandLine);
