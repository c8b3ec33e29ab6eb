// SPDX-License-Identifier: GPL-3.0-or-later
// Reading contacts from vCard files (versions 2.1, 3.0 and 4.0) for the contact picker.
//
// Only what the picker and the names of known numbers need is read: the name to show, the mobile
// number and the home and work numbers. The rules:
//
// - Lines end with CR LF, LF or CR. A line that starts with a blank or a tab continues the one
//   before it (folding). A quoted-printable value that ends with "=" continues on the next line
//   (a soft line break).
// - A property line is [group.]NAME[;param...]:value. Parameters are NAME=value[,value...]
//   (values may be quoted, and a quoted value may itself hold commas, semicolons and colons) or
//   a bare word as in version 2.1 ("CELL", "QUOTED-PRINTABLE"), which is a type, or an
//   encoding for the encoding words. Names, parameter names and types ignore case.
// - Values are decoded in this order: quoted-printable (ENCODING=QUOTED-PRINTABLE or the bare
//   word), then the character set (CHARSET=UTF-8, ISO-8859-1, US-ASCII, WINDOWS-1252; without
//   one, UTF-8, or Windows-1252 when the bytes are not valid UTF-8), then the escapes \\ \; \,
//   and \n (or \N, a line feed).
// - The mobile number is the first TEL whose types include CELL and whose value is not empty,
//   kept as written (a "tel:" URI loses its scheme and its parameters); the home and work numbers
//   likewise, of types HOME and WORK (a TEL of several types counts for each). The name is FN;
//   without one, the parts of N in reading order (prefix, given, additional, family, suffix);
//   without that, the first part of ORG.
// - A card runs from BEGIN:VCARD to its END:VCARD. A card embedded in a version 2.1 AGENT
//   property belongs to the card around it. A card that never ends is malformed and skipped; a
//   BEGIN:VCARD inside an unfinished card (other than an AGENT's) starts a new card.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct VCardContact {
    std::u16string name;
    std::u16string mobile;
    std::u16string home;  // read by ReadVCardPhones; the picker shows only the mobile number
    std::u16string work;
};

// Where one card lies in the text it was found in.
struct VCardSpan {
    std::size_t offset = 0;
    std::size_t length = 0;
};

// One pass over `text` (the contents of one file, as UTF-8 or 8-bit text): appends the span of
// every complete card that has a mobile number, in the order of the text. Names are not
// decoded here; ReadVCard does that when a card is shown.
void IndexMobileCards(std::string_view text, std::vector<VCardSpan>* spans);

// Reads the name and the mobile number of the card in `card` (one span). False when it is not
// a complete card or has no mobile number; `contact` is then left empty.
bool ReadVCard(std::string_view card, VCardContact* contact);

// As IndexMobileCards, for every complete card with a mobile, home or work number.
void IndexPhoneCards(std::string_view text, std::vector<VCardSpan>* spans);

// Reads the name and the mobile, home and work numbers of the card in `card`. False when it is
// not a complete card or has none of the three numbers; `contact` is then left empty.
bool ReadVCardPhones(std::string_view card, VCardContact* contact);

// Prepares the raw bytes of a file for the reader: a UTF-8 byte-order mark is dropped, UTF-16
// with a byte-order mark becomes UTF-8. False for binary data (a zero byte anywhere else).
bool PrepareVCardText(std::string* bytes);
