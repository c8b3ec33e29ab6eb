// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/registry_key.h"

#include <QMap>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#endif

namespace {

QString ToQ(std::u16string_view text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

std::vector<std::u16string> SplitPath(std::u16string_view path) {
    std::vector<std::u16string> parts;
    std::u16string current;
    for (char16_t c : path) {
        if (c == u'\\') {
            if (!current.empty()) parts.push_back(current);
            current.clear();
        } else {
            current.push_back(c);
        }
    }
    if (!current.empty()) parts.push_back(current);
    return parts;
}

bool IsSoftware(const std::u16string& part) {
    return QString::fromStdU16String(part).compare(QStringLiteral("Software"),
                                                   Qt::CaseInsensitive) == 0;
}

#ifndef _WIN32

std::string ConfigHome() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg != nullptr && xdg[0] == '/') return xdg;
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0') return std::string(home) + "/.config";
    return {};
}

bool MakeDirectories(const std::string& dir) {
    struct stat st;
    if (stat(dir.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
    const std::size_t slash = dir.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !MakeDirectories(dir.substr(0, slash))) {
        return false;
    }
    return mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;
}

// Copies `file` byte for byte to "<file>.damaged", or "<file>.damaged-2" and so on when that
// name is taken, readable by the user alone. The copy's name, or empty when it failed.
std::string KeepDamagedCopy(const std::string& file) {
    const int in = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return {};
    std::string copy;
    int out = -1;
    for (int n = 1; n <= 100 && out < 0; ++n) {
        copy = file + ".damaged" + (n == 1 ? std::string() : "-" + std::to_string(n));
        out = open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (out < 0 && errno != EEXIST) break;
    }
    bool ok = out >= 0;
    char buffer[8192];
    while (ok) {
        const ssize_t got = read(in, buffer, sizeof buffer);
        if (got == 0) break;
        if (got < 0) {
            if (errno == EINTR) continue;
            ok = false;
            break;
        }
        for (ssize_t done = 0; done < got && ok;) {
            const ssize_t put = write(out, buffer + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) {
                ok = false;
            } else {
                done += put;
            }
        }
    }
    if (ok && fsync(out) != 0) ok = false;
    close(in);
    if (out >= 0) {
        if (close(out) != 0) ok = false;
        if (!ok) unlink(copy.c_str());
    }
    return ok ? copy : std::string();
}

// A file with lines QSettings cannot parse (a hand edit gone wrong, a disk error) still gives
// the values of its good lines, but QSettings then reports every later write as failed and
// would silently drop the bad lines on the next one. So the file as it was is kept beside it,
// and the good values are written back as a clean file. False when the copy cannot be made;
// the file is then left untouched.
bool RepairDamagedFile(const std::string& file, std::string* damagedCopy) {
    QMap<QString, QVariant> values;
    {
        QSettings damaged(QString::fromStdString(file), QSettings::IniFormat);
        for (const QString& name : damaged.allKeys()) values.insert(name, damaged.value(name));
    }
    const std::string copy = KeepDamagedCopy(file);
    if (copy.empty()) return false;
    {
        const int fd = open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
        if (fd < 0) return false;
        close(fd);
    }
    QSettings clean(QString::fromStdString(file), QSettings::IniFormat);
    for (auto it = values.cbegin(); it != values.cend(); ++it) clean.setValue(it.key(), it.value());
    clean.sync();
    *damagedCopy = copy;
    return clean.status() == QSettings::NoError;
}

#endif

}  // namespace

RegistryKey::RegistryKey() = default;
RegistryKey::~RegistryKey() = default;

bool RegistryKey::Open(std::u16string_view path, bool create) {
    Close();
    const std::vector<std::u16string> parts = SplitPath(path);
    if (parts.size() < 3 || !IsSoftware(parts[0])) return false;
    const QString organisation = QString::fromStdU16String(parts[1]);
    const QString application = QString::fromStdU16String(parts[2]);
    QString group;
    for (std::size_t i = 3; i < parts.size(); ++i) {
        if (!group.isEmpty()) group += QLatin1Char('/');
        group += QString::fromStdU16String(parts[i]);
    }
#ifdef _WIN32
    auto settings = std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                                organisation, application);
#else
    const std::string home = ConfigHome();
    if (home.empty()) return false;
    const std::string dir = home + "/" + organisation.toStdString();
    const std::string file = dir + "/" + application.toStdString() + ".ini";
    struct stat st;
    const bool exists = stat(file.c_str(), &st) == 0;
    if (!exists && !create) return false;
    if (!exists) {
        if (!MakeDirectories(dir)) return false;
        // Created empty and readable by the user alone; later writes replace the file but
        // keep its permissions.
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 && errno != EEXIST) return false;
        if (fd >= 0) close(fd);
    }
    if (access(file.c_str(), R_OK) != 0) return false;
    auto settings = std::make_unique<QSettings>(QString::fromStdString(file), QSettings::IniFormat);
    if (settings->status() == QSettings::FormatError) {
        settings.reset();
        if (!RepairDamagedFile(file, &damagedCopy_)) return false;
        settings = std::make_unique<QSettings>(QString::fromStdString(file), QSettings::IniFormat);
    }
#endif
    if (!group.isEmpty()) settings->beginGroup(group);
    if (!create) {
        // The key exists when it holds a value or a sub-key.
        settings->sync();
        if (!group.isEmpty() && settings->childKeys().isEmpty() &&
            settings->childGroups().isEmpty()) {
            return false;
        }
    }
    if (settings->status() != QSettings::NoError) return false;
    settings_ = std::move(settings);
    return true;
}

std::uint32_t RegistryKey::Close() {
    settings_.reset();
    damagedCopy_.clear();
    return kRegSuccess;
}

std::string RegistryKey::Location() const {
    return settings_ ? settings_->fileName().toStdString() : std::string();
}

const char16_t* RegistryKey::ReadString(std::u16string_view name, std::u16string& dest,
                                        const char16_t* defaultValue) {
    if (settings_) {
        settings_->sync();
        const QVariant value = settings_->value(ToQ(name));
        if (value.isValid() && value.typeId() == QMetaType::QString) {
            dest = value.toString().toStdU16String();
            return dest.c_str();
        }
    }
    dest = defaultValue != nullptr ? std::u16string(defaultValue) : std::u16string();
    return defaultValue;
}

std::uint32_t RegistryKey::ReadDword(std::u16string_view name, std::uint32_t defaultValue) {
    if (!settings_) return defaultValue;
    settings_->sync();
    const QVariant value = settings_->value(ToQ(name));
    switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong: {
            bool ok = false;
            const qlonglong n = value.toLongLong(&ok);
            if (ok && n >= 0 && n <= 0xFFFFFFFFll) return static_cast<std::uint32_t>(n);
            if (value.typeId() == QMetaType::ULongLong) return defaultValue;
            return defaultValue;
        }
        case QMetaType::QString: {
            // A plain decimal number, as the INI file keeps DWORD values.
            const QString text = value.toString();
            if (text.isEmpty() || text.size() > 10) return defaultValue;
            for (QChar c : text) {
                if (c < QLatin1Char('0') || c > QLatin1Char('9')) return defaultValue;
            }
            bool ok = false;
            const qulonglong n = text.toULongLong(&ok);
            if (!ok || n > 0xFFFFFFFFull) return defaultValue;
            return static_cast<std::uint32_t>(n);
        }
        default:
            return defaultValue;
    }
}

std::uint32_t RegistryKey::WriteString(std::u16string_view name, std::u16string_view text) {
    if (!settings_) return kRegInvalidHandle;
    settings_->setValue(ToQ(name), ToQ(text));
    settings_->sync();
    return settings_->status() == QSettings::NoError ? kRegSuccess : kRegAccessDenied;
}

std::uint32_t RegistryKey::WriteDword(std::u16string_view name, std::uint32_t value) {
    if (!settings_) return kRegInvalidHandle;
    settings_->setValue(ToQ(name), QVariant::fromValue<uint>(value));
    settings_->sync();
    return settings_->status() == QSettings::NoError ? kRegSuccess : kRegAccessDenied;
}
