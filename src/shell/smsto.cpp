// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/smsto.h"

#include <cstddef>

#include "common/text_convert.h"
#include "message_ui/text_helpers.h"

namespace {

constexpr char16_t kSchemeSmsTo[] = u"smsto:";
constexpr char16_t kSchemeSms[] = u"sms:";
// Characters that could end the quoted command line or be taken for the '?' that starts the
// name.
constexpr char16_t kNameUnsafe[] = u"\r\n\t\"?<>";

char16_t Lower(char16_t c) {
    return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c;
}

bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (Lower(text[i]) != prefix[i]) return false;
    }
    return true;
}

int HexValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

// Percent escapes name UTF-8 bytes; a '%' not followed by two hex digits stays as it is.
std::u16string PercentDecode(std::u16string_view text) {
    std::string utf8;
    std::u16string out;
    auto flush = [&] {
        if (!utf8.empty()) {
            out += Utf8ToUtf16(utf8);
            utf8.clear();
        }
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
            HexValue(text[i + 2]) >= 0) {
            utf8.push_back(static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2])));
            i += 2;
            continue;
        }
        flush();
        out.push_back(text[i]);
    }
    flush();
    return out;
}

std::u16string_view UpTo(std::u16string_view text, char16_t stop) {
    const std::size_t at = text.find(stop);
    return at == std::u16string_view::npos ? text : text.substr(0, at);
}

}  // namespace

bool ParseSmsTo(const TextBuffer& commandLine, TextBuffer& number, TextBuffer& name) {
    TextBuffer work(commandLine);
    Unwrap(work, u'"', u'"');
    const std::u16string_view text(work.Text());
    const std::size_t colon = text.find(u':');
    if (colon == std::u16string_view::npos) return false;
    const std::size_t question = text.find(u'?', colon + 1);
    if (question == colon + 1) return false;
    if (question != std::u16string_view::npos) {
        number.Assign(text.data() + colon + 1, question - colon - 1);
        name = TextBuffer::FromU16(text.substr(question + 1));
    } else {
        number = TextBuffer::FromU16(text.substr(colon + 1));
        name.Clear();
    }
    NormalizePhoneNumber(number);
    return true;
}

void BuildSmsTo(TextBuffer& commandLine, const TextBuffer& name, const TextBuffer& number) {
    TextBuffer cleanName(name);
    RemoveCharacters(cleanName, kNameUnsafe);
    TextBuffer cleanNumber(number);
    NormalizePhoneNumber(cleanNumber);
    TextBuffer result(u"/smsto:");
    result.Append(cleanNumber);
    if (!cleanName.IsEmpty()) {
        result.Append(u"?");
        result.Append(cleanName);
    }
    Wrap(result, u'"', u'"');
    commandLine.MoveFrom(result);
}

bool IsSmsLink(std::u16string_view text) {
    return StartsWithNoCase(text, kSchemeSmsTo) || StartsWithNoCase(text, kSchemeSms);
}

bool SmsLinkToCommandLine(std::u16string_view link, TextBuffer& commandLine) {
    const bool smsto = StartsWithNoCase(link, kSchemeSmsTo);
    if (!smsto && !StartsWithNoCase(link, kSchemeSms)) return false;
    std::u16string_view rest = link.substr(smsto ? std::char_traits<char16_t>::length(kSchemeSmsTo)
                                                 : std::char_traits<char16_t>::length(kSchemeSms));
    if (rest.substr(0, 2) == u"//") rest.remove_prefix(2);

    std::u16string_view recipients = UpTo(rest, u'?');
    std::u16string_view query;
    if (recipients.size() < rest.size()) query = rest.substr(recipients.size() + 1);
    // "SMSTO:number:text" puts a message text behind a second colon; texts are not carried.
    if (smsto) recipients = UpTo(recipients, u':');
    // Several recipients: the compose dialog addresses one, the first.
    std::u16string_view first = UpTo(recipients, u',');
    // Parameters of a telephone number ("+123;phone-context=...") are not part of it.
    first = UpTo(first, u';');

    // A query of named fields ("body=...") carries a message text, which the command line
    // never holds. A query without any '=' is the recipient's name, as in the program's own
    // form.
    std::u16string name;
    if (query.find(u'=') == std::u16string_view::npos) name = PercentDecode(query);

    const TextBuffer number = TextBuffer::FromU16(PercentDecode(first));
    BuildSmsTo(commandLine, TextBuffer::FromU16(name), number);
    return true;
}

void CommandLineFromArguments(const std::vector<std::u16string>& arguments,
                              TextBuffer& commandLine) {
    std::u16string joined;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) joined.push_back(u' ');
        joined += arguments[i];
    }
    if (SmsLinkToCommandLine(joined, commandLine)) return;
    commandLine = TextBuffer::FromU16(joined);
}
