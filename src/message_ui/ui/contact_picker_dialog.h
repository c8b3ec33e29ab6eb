// SPDX-License-Identifier: GPL-3.0-or-later
// The contact picker (template 108, "Select a contact"): lists every contact that has a
// mobile number, in two columns "Name" and "Phone", and returns the chosen contact's name and
// mobile number as the contact stores it.
//
// The contacts come from the vCard files of the contacts folder: the folder given with
// SetContactsFolder, else the folder named by the "Contacts" setting, else "contacts" in the
// user's data folder. The folder is read once when the picker opens; the list asks for a
// contact's texts only when it shows that row.
#pragma once

#include <QAbstractTableModel>
#include <QSize>
#include <string>

#include "framework/ui/dialog_base.h"
#include "message_ui/contact_directory.h"

class QLabel;
class QPushButton;
class QTreeView;

// Identifiers of the picker's controls.
constexpr int kIdcContactList = 1018;
constexpr int kIdcCaption = 1019;

// Name of the setting that points the picker at another contacts folder.
inline constexpr char16_t kValueContacts[] = u"Contacts";

// The contacts folder the picker reads when none is given: the "Contacts" setting (a leading
// "~/" is the home folder) when it is set and not empty, else DefaultContactsFolder().
std::string ContactsFolderFromSettings();

// The two columns over a ContactDirectory. A cell is decoded from its card when the view asks
// for it; the last contact decoded is kept, so the two cells of a row cost one decoding.
class ContactListModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit ContactListModel(const ContactDirectory* directory, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    // Contact `row`, decoded now; false when it cannot be read.
    bool Contact(int row, VCardContact* contact) const;
    // How many cards were decoded so far.
    int Decodings() const { return decodings_; }

  private:
    const ContactDirectory* directory_;
    mutable int cachedRow_ = -1;
    mutable bool cachedOk_ = false;
    mutable VCardContact cached_;
    mutable int decodings_ = 0;
};

class ContactPickerDialog : public DialogBase {
    Q_OBJECT
  public:
    static constexpr int kTemplateId = 108;

    explicit ContactPickerDialog(QWidget* parent = nullptr);

    // Reads `path` (a folder or one file) instead of the folder of the settings.
    void SetContactsFolder(const std::string& path) { folder_ = path; }
    // The folder read when the picker opened.
    const std::string& FolderRead() const { return folderRead_; }

    // The result after OK: the contact's name and its mobile number, not normalised.
    const std::u16string& Name() const { return name_; }
    const std::u16string& Phone() const { return phone_; }

    QTreeView* List() const { return list_; }
    const ContactListModel* Model() const { return model_; }
    int ContactCount() const { return static_cast<int>(directory_.Count()); }

    QSize sizeHint() const override;

  protected:
    bool OnInitDialog() override;
    void Layout(int w, int h) override;
    // OK, also from Return and a double tap: TakeSelection.
    void Accept() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    // OK, Return and a double tap: ends with 1 and the contact, or 2 when none is chosen.
    void TakeSelection();

    std::string folder_;
    std::string folderRead_;
    ContactDirectory directory_;
    ContactListModel* model_ = nullptr;
    QTreeView* list_ = nullptr;
    QLabel* caption_ = nullptr;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
    std::u16string name_;
    std::u16string phone_;
};

// Runs a picker as a page over `owner`; on IDOK `name` and `phone` receive the contact's name
// and mobile number (not normalised). Returns the picker's result.
int RunContactPickerPage(DialogBase* owner, std::u16string* name, std::u16string* phone);
