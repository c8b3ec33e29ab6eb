// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/contact_names_cache.h"

#include <QStringList>

#include "message_ui/contact_directory.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "settings/settings_key.h"

ContactNamesCache& ContactNamesCache::Instance() {
    static ContactNamesCache* cache = new ContactNamesCache;
    return *cache;
}

ContactNamesCache::ContactNamesCache() {
    reloadTimer_.setSingleShot(true);
    reloadTimer_.setInterval(kReloadDelayMs);
    connect(&reloadTimer_, &QTimer::timeout, this, [this] {
        Load(folder_);
        emit changed();
    });
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this,
            [this] { reloadTimer_.start(); });
    connect(&watcher_, &QFileSystemWatcher::fileChanged, this, [this] { reloadTimer_.start(); });
}

bool ContactNamesCache::Enabled() {
    RegistryKey key;
    return OpenSettings(key) && ReadSettingFlag(key, kValueContactNames);
}

void ContactNamesCache::Sync() {
    const std::string folder = ContactsFolderFromSettings();
    if (!loaded_ || folder != folder_) Load(folder);
}

void ContactNamesCache::Reset() {
    reloadTimer_.stop();
    index_.Clear();
    folder_.clear();
    loaded_ = false;
    const QStringList watched = watcher_.files() + watcher_.directories();
    if (!watched.isEmpty()) watcher_.removePaths(watched);
}

void ContactNamesCache::Load(const std::string& folder) {
    ContactDirectory directory;
    directory.Load(folder, ContactDirectory::kDefaultMaxFileBytes,
                   ContactDirectory::Cards::kAnyPhone);
    index_.Clear();
    index_.AddAll(directory);
    folder_ = folder;
    loaded_ = true;
    ++loads_;

    // Watched again from scratch: an editor that saves by renaming leaves the old path behind.
    const QStringList watched = watcher_.files() + watcher_.directories();
    if (!watched.isEmpty()) watcher_.removePaths(watched);
    QStringList paths;
    for (const std::string& f : directory.SeenFolders()) paths << QString::fromStdString(f);
    for (const std::string& f : directory.SeenFiles()) paths << QString::fromStdString(f);
    if (!paths.isEmpty()) watcher_.addPaths(paths);
}

const std::u16string* ContactNamesCache::Find(std::u16string_view number) {
    if (!loaded_) Sync();
    return index_.Find(number);
}

std::u16string ContactNamesCache::NameFor(const SmsMessage& message) {
    if (!message.name.empty() || message.number.empty() || !Enabled()) return {};
    const std::u16string* name = Find(message.number);
    return name == nullptr ? std::u16string() : *name;
}
