// SPDX-License-Identifier: GPL-3.0-or-later
// The names of known numbers as the windows show them: the contacts folder of the contact
// picker read once into a ContactNameIndex, kept until a contact file or folder changes (a
// file watcher on the folder, its sub-folders and its files), then read again.
//
// Whether names are shown at all is the ContactNames setting; the windows ask Enabled() when
// they load, and NameFor() gives nothing while it is off.
#pragma once

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>
#include <string>
#include <string_view>

#include "common/sms_message.h"
#include "message_ui/contact_names.h"

class ContactNamesCache : public QObject {
    Q_OBJECT
  public:
    // A change on disk is read after this pause, so that a file being written is read once.
    static constexpr int kReloadDelayMs = 200;

    static ContactNamesCache& Instance();

    // Whether the ContactNames setting is on, read now.
    static bool Enabled();

    // Makes sure the index holds the contacts folder the settings name now (read when it
    // changed or was never read). Cheap when nothing changed.
    void Sync();
    // The name of the contact whose number matches `number`, or null (reads the folder on
    // first use).
    const std::u16string* Find(std::u16string_view number);
    // For a message without a name: the matching contact's name; empty when the message has a
    // name, no contact matches, or the setting is off.
    std::u16string NameFor(const SmsMessage& message);

    std::size_t Count() const { return index_.Count(); }
    const std::string& Folder() const { return folder_; }
    // How many times the folder was read (for the tests of the watcher).
    int Loads() const { return loads_; }
    // Forgets everything; the next use reads the folder again.
    void Reset();

  signals:
    // The contacts were read again after a change on disk.
    void changed();

  private:
    ContactNamesCache();
    void Load(const std::string& folder);

    ContactNameIndex index_;
    std::string folder_;
    bool loaded_ = false;
    int loads_ = 0;
    QFileSystemWatcher watcher_;
    QTimer reloadTimer_;
};
