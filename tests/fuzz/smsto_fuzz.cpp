// SPDX-License-Identifier: GPL-3.0-or-later
// libFuzzer entry point for the "/smsto:" command line: ParseSmsTo, its inverse BuildSmsTo, and
// the conversion of a start's arguments (standard sms: and smsto: links included) into it.
//
// Input: one control octet, then the text. Bit 0 of the control octet chooses how the text is
// read: 0 each byte is one character (so ':' '?' and '"' are easy to reach), 1 pairs of bytes
// are UTF-16 code units, little-endian (surrogates and zeros included).
//
// The parse is compared with an independent reading of its rules; what it returns must build
// into a command line that parses back to the same number and (cleaned) name; and whatever the
// arguments were, the command line made from them must be one that the parser reads the same way.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "framework/text_buffer.h"
#include "shell/smsto.h"

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

constexpr std::u16string_view kNameUnsafe = u"\r\n\t\"?<>";

std::u16string Normalised(std::u16string_view number) {
    std::u16string kept;
    for (char16_t c : number) {
        if ((c >= u'0' && c <= u'9') || (c == u'+' && kept.empty())) kept.push_back(c);
    }
    return kept == u"+" ? std::u16string() : kept;
}

bool IsNormalised(const std::u16string& number) {
    return Normalised(number) == number;
}

std::u16string Cleaned(std::u16string_view name) {
    std::u16string kept;
    for (char16_t c : name) {
        if (kNameUnsafe.find(c) == std::u16string_view::npos) kept.push_back(c);
    }
    return kept;
}

// The text a zero-terminated command line holds.
std::u16string_view UpToZero(std::u16string_view text) {
    return text.substr(0, text.find(u'\0'));
}

struct Parsed {
    bool ok = false;
    std::u16string number;
    std::u16string name;
};

Parsed Parse(const TextBuffer& commandLine) {
    TextBuffer number(u"stale number"), name(u"stale name");
    Parsed p;
    p.ok = ParseSmsTo(commandLine, number, name);
    p.number = number.ToU16();
    p.name = name.ToU16();
    return p;
}

// The rules of the parser, read independently: quotes off both ends, the first ':', the first
// '?' after it, the number normalised.
Parsed Reference(std::u16string_view text) {
    Parsed p;
    if (!text.empty() && text.front() == u'"') text.remove_prefix(1);
    if (!text.empty() && text.back() == u'"') text.remove_suffix(1);
    const std::size_t colon = text.find(u':');
    if (colon == std::u16string_view::npos) return p;
    const std::size_t question = text.find(u'?', colon + 1);
    if (question == colon + 1) return p;
    p.ok = true;
    if (question == std::u16string_view::npos) {
        p.number = Normalised(text.substr(colon + 1));
    } else {
        p.number = Normalised(text.substr(colon + 1, question - colon - 1));
        p.name = std::u16string(text.substr(question + 1));
    }
    return p;
}

// The form BuildSmsTo writes: quoted, "/smsto:", nothing in it that could end the quoted
// command line, at most one '?'.
void CheckShape(const TextBuffer& commandLine) {
    const std::u16string text = commandLine.ToU16();
    Check(text.size() >= 9 && text.compare(0, 8, u"\"/smsto:") == 0 && text.back() == u'"');
    const std::u16string inner = text.substr(1, text.size() - 2);
    for (char16_t c : std::u16string_view(u"\r\n\t\"<>")) {
        Check(inner.find(c) == std::u16string::npos);
    }
    const std::size_t question = inner.find(u'?');
    Check(question == std::u16string::npos ||
          inner.find(u'?', question + 1) == std::u16string::npos);
}

// A command line built from `number` and `name` parses back to both, cleaned.
void CheckBuilt(const TextBuffer& commandLine, const std::u16string& number,
                const std::u16string& name) {
    CheckShape(commandLine);
    const Parsed back = Parse(commandLine);
    const std::u16string cleanNumber = Normalised(number);
    const std::u16string cleanName = Cleaned(name);
    // Without a number, a name leaves "?" right behind the ':', which the parser refuses.
    Check(back.ok == (!cleanNumber.empty() || cleanName.empty()));
    if (back.ok) {
        Check(back.number == cleanNumber);
        Check(back.name == cleanName);
    }
}

std::u16string Characters(const std::uint8_t* bytes, std::size_t n, bool utf16) {
    std::u16string text;
    if (utf16) {
        for (std::size_t i = 0; i + 1 < n; i += 2) {
            text.push_back(static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8));
        }
    } else {
        text.assign(bytes, bytes + n);
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 4096) return 0;
    const std::u16string text = Characters(data + 1, size - 1, (data[0] & 1) != 0);

    // As a command line handed over, zeros and all; the parser sees it up to the first zero.
    TextBuffer commandLine;
    if (!text.empty()) commandLine.Assign(text.data(), text.size());
    const Parsed parsed = Parse(commandLine);
    const Parsed expected = Reference(UpToZero(text));
    Check(parsed.ok == expected.ok);
    if (parsed.ok) {
        Check(parsed.number == expected.number && IsNormalised(parsed.number));
        Check(parsed.name == expected.name);
        TextBuffer built(u"previous");
        BuildSmsTo(built, TextBuffer::FromU16(parsed.name), TextBuffer::FromU16(parsed.number));
        CheckBuilt(built, parsed.number, parsed.name);
    }

    // As a link: either refused and left alone, or turned into the program's own form.
    TextBuffer fromLink(u"unchanged");
    const bool isLink = SmsLinkToCommandLine(text, fromLink);
    Check(isLink == IsSmsLink(text));
    if (isLink) {
        CheckShape(fromLink);
        const Parsed link = Parse(fromLink);
        if (link.ok) {
            Check(IsNormalised(link.number) && Cleaned(link.name) == link.name);
        } else {
            // Only a name without a number makes a command line that the parser refuses.
            Check(fromLink.ToU16().compare(0, 9, u"\"/smsto:?") == 0);
        }
    } else {
        Check(fromLink.ToU16() == u"unchanged");
    }

    // As the arguments of a start (which cannot hold zeros): split at the zeros.
    std::vector<std::u16string> arguments;
    std::size_t start = 0;
    for (;;) {
        const std::size_t zero = text.find(u'\0', start);
        arguments.emplace_back(text.substr(start, zero - start));
        if (zero == std::u16string::npos) break;
        start = zero + 1;
    }
    if (text.empty()) arguments.clear();
    TextBuffer fromArguments(u"previous");
    CommandLineFromArguments(arguments, fromArguments);
    std::u16string joined;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) joined.push_back(u' ');
        joined += arguments[i];
    }
    if (IsSmsLink(joined)) {
        TextBuffer again;
        SmsLinkToCommandLine(joined, again);
        Check(fromArguments.ToU16() == again.ToU16());
    } else {
        Check(fromArguments.ToU16() == joined);
    }
    if (!IsSmsLink(joined)) {
        // What the running instance then reads from it.
        const Parsed started = Parse(fromArguments);
        const Parsed expectedStart = Reference(joined);
        Check(started.ok == expectedStart.ok);
        Check(!started.ok ||
              (started.number == expectedStart.number && started.name == expectedStart.name));
    }
    return 0;
}
