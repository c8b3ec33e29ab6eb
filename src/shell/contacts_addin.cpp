// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/contacts_addin.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "common/text_convert.h"
#include "framework/text_buffer.h"
#include "settings/settings_key.h"

namespace {

constexpr unsigned kMenuTextId = 1111;  // "Send SMS..."

bool FileExists(const std::string& path) {
    struct stat st {};
    return !path.empty() && stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

bool MakeFolder(const std::string& dir) {
    struct stat st {};
    if (stat(dir.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    const std::size_t slash = dir.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !MakeFolder(dir.substr(0, slash))) return false;
    return mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// An argument of the Exec key: quoted, with the characters that are special inside quotes
// escaped by a backslash; '%' doubled (field codes); then the backslashes doubled again
// because the value of a desktop entry is itself an escaped string.
std::string ExecArgument(const std::string& path) {
    std::string quoted = "\"";
    for (char c : path) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted.push_back('\\');
        if (c == '%') quoted.push_back('%');
        quoted.push_back(c);
    }
    quoted.push_back('"');
    std::string value;
    for (char c : quoted) {
        if (c == '\\') value.push_back('\\');
        value.push_back(c);
    }
    return value;
}

bool WriteFileReplacing(const std::string& path, const std::string& text) {
    const std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        if (!out) return false;
        out << text;
        out.flush();
        if (!out) {
            std::remove(temporary.c_str());
            return false;
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        return false;
    }
    return true;
}

}  // namespace

std::string ProgramFilePath() {
    char buffer[4096];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0 || static_cast<std::size_t>(n) >= sizeof buffer - 1) return {};
    return std::string(buffer, static_cast<std::size_t>(n));
}

std::string XdgDataHome() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg != nullptr && xdg[0] == '/') return xdg;
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') return std::string(home) + "/.local/share";
    return {};
}

std::string FindProgramEntry(const std::string& exePath) {
    const std::string folder = FolderOf(exePath);
    if (folder.empty()) {
        return FileExists(kProgramEntryName) ? std::string(kProgramEntryName) : std::string();
    }
    const std::string installed = folder + "../share/applications/" + kProgramEntryName;
    if (FileExists(installed)) return installed;
    const std::string beside = folder + kProgramEntryName;
    if (FileExists(beside)) return beside;
    return {};
}

std::string HandlerEntryPath(const std::string& dataHome) {
    if (dataHome.empty()) return {};
    std::string path = dataHome;
    if (path.back() != '/') path.push_back('/');
    return path + "applications/" + kHandlerEntryName;
}

std::string HandlerEntryText(const std::string& exePath) {
    if (exePath.empty() || exePath[0] != '/') return {};
    for (unsigned char c : exePath) {
        if (c < 0x20 || c == 0x7F) return {};
    }
    TextBuffer menu;
    menu.LoadResourceString(kMenuTextId);
    std::string text;
    text += "[Desktop Entry]\n";
    text += "Type=Application\n";
    text += "Version=1.0\n";
    text += "Name=" + Utf16ToUtf8(menu.Text()) + "\n";
    text += "Comment=Velkan Tessiver\n";
    text += "Exec=" + ExecArgument(exePath) + " %u\n";
    text += "Icon=velkan-tessiver\n";
    text += "Terminal=false\n";
    text += "NoDisplay=true\n";
    text += "MimeType=x-scheme-handler/sms;x-scheme-handler/smsto;\n";
    return text;
}

void RegisterContactsAddIn(const std::string& exePath, const std::string& dataHome) {
    RegistryKey key;
    if (!OpenSettings(key)) return;
    if (!exePath.empty()) SetExePath(key, Utf8ToUtf16(exePath));
    key.Close();

    const std::string handler = HandlerEntryPath(dataHome);
    if (handler.empty()) return;
    const std::string text =
        FindProgramEntry(exePath).empty() ? std::string() : HandlerEntryText(exePath);
    if (text.empty()) {
        // Installed no more (or no usable program path): a registration would point nowhere.
        std::remove(handler.c_str());
        return;
    }
    if (ReadFile(handler) == text) return;
    if (!MakeFolder(handler.substr(0, handler.find_last_of('/')))) return;
    WriteFileReplacing(handler, text);
}

void RegisterContactsAddIn() {
    RegisterContactsAddIn(ProgramFilePath(), XdgDataHome());
}
