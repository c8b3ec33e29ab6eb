// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/message_output.h"

#include <cstdio>
#include <utility>

#include "cli/json.h"
#include "common/text_convert.h"

namespace {

struct FolderName {
    const char* name;
    FolderId folder;
};

constexpr FolderName kFolders[] = {
    {"inbox", kFolderInbox}, {"outbox", kFolderOutbox}, {"draft", kFolderDraft},
    {"sent", kFolderSent},   {"log", kFolderLog},
};

bool SameIgnoringCase(const char* a, const char* b) {
    for (; *a && *b; ++a, ++b) {
        char x = *a, y = *b;
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return *a == *b;
}

}  // namespace

const char* FolderLabel(FolderId folder) {
    for (const FolderName& f : kFolders) {
        if (f.folder == folder) return f.name;
    }
    return "unknown";
}

bool ParseFolderName(const char* name, FolderId* folder) {
    for (const FolderName& f : kFolders) {
        if (SameIgnoringCase(f.name, name)) {
            *folder = f.folder;
            return true;
        }
    }
    return false;
}

std::string TimeText(FileTime time) {
    SystemTime st;
    if (time == 0 || !FileTimeToSystemTime(time, &st)) return {};
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", unsigned{st.year},
                  unsigned{st.month}, unsigned{st.day}, unsigned{st.hour}, unsigned{st.minute},
                  unsigned{st.second});
    return text;
}

// "sent?" is an Outbox message that may have reached the phone (see `velkan resend`),
// "unsendable" one that cannot be encoded as an SMS.
std::string FlagsText(std::uint32_t flags) {
    std::string out;
    const std::pair<std::uint32_t, const char*> marks[] = {{kFlagUnread, "new"},
                                                           {kFlagFlash, "flash"},
                                                           {kFlagMayHaveBeenSent, "sent?"},
                                                           {kFlagNotEncodable, "unsendable"}};
    for (const auto& [bit, mark] : marks) {
        if ((flags & bit) == 0) continue;
        if (!out.empty()) out += '+';
        out += mark;
    }
    return out.empty() ? std::string("-") : out;
}

std::string Cell(const std::u16string& text, std::size_t width) {
    std::u16string flat;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
        flat.push_back(c == u'\r' || c == u'\n' || c == u'\t' ? u' ' : c);
    }
    std::string out = Utf16ToUtf8(flat);
    std::size_t points = 0;
    for (unsigned char ch : out) points += (ch & 0xC0) != 0x80;
    if (width != 0 && points > width) {
        std::size_t keep = width - 3, seen = 0, cut = 0;
        for (; cut < out.size(); ++cut) {
            if ((static_cast<unsigned char>(out[cut]) & 0xC0) != 0x80) {
                if (seen == keep) break;
                ++seen;
            }
        }
        out = out.substr(0, cut) + "...";
        points = width;
    }
    if (width != 0) out.append(width - points, ' ');
    return out;
}

void PrintMessageTableHeader() {
    std::printf("%-6s  %-19s  %-9s  %-6s  %-20s  %-16s  %s\n", "ID", "TIME", "FLAGS", "FOLDER",
                "NAME", "NUMBER", "TEXT");
}

void PrintMessageTableRow(const SmsMessage& m) {
    std::printf("%6u  %-19s  %-9s  %-6s  %s  %s  %s\n", m.oid, TimeText(m.time).c_str(),
                FlagsText(m.flags).c_str(), FolderLabel(m.folder), Cell(m.name, 20).c_str(),
                Cell(m.number, 16).c_str(), Cell(m.text, 0).c_str());
}

std::string MessageJson(const SmsMessage& m) {
    const std::string time = TimeText(m.time);
    JsonObject o;
    o.Add("id", static_cast<std::int64_t>(m.oid))
        .Add("folder", FolderLabel(m.folder))
        .Add("flags", static_cast<std::int64_t>(m.flags))
        .Add("name", m.name)
        .Add("number", m.number)
        .Add("text", m.text);
    if (time.empty()) {
        o.AddRaw("time", "null");
    } else {
        o.Add("time", time);
    }
    // The marks of the flags spelled out, so that scripts need not know the bits.
    o.Add("mayHaveBeenSent", (m.flags & kFlagMayHaveBeenSent) != 0)
        .Add("notEncodable", (m.flags & kFlagNotEncodable) != 0);
    return o.Str();
}
