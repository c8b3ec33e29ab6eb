// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/contact_picker_dialog.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>

#include "common/text_convert.h"
#include "framework/ui/dialog_units.h"
#include "framework/ui/drawn_controls.h"
#include "framework/ui/ui_fonts.h"
#include "settings/settings_key.h"

namespace {

QString ToQString(const std::u16string& s) {
    return QString::fromStdU16String(s);
}

// The list sits this far from the left, right and bottom edges, and this far from the top.
constexpr int kListMargin = 6;
constexpr int kListTop = 31;

}  // namespace

std::string ContactsFolderFromSettings() {
    RegistryKey key;
    if (OpenSettings(key)) {
        std::u16string folder;
        if (key.ReadString(kValueContacts, folder, nullptr) != nullptr && !folder.empty()) {
            return ExpandHomeFolder(Utf16ToUtf8(folder));
        }
    }
    return DefaultContactsFolder();
}

// --- ContactListModel ----------------------------------------------------------------------

ContactListModel::ContactListModel(const ContactDirectory* directory, QObject* parent)
    : QAbstractTableModel(parent), directory_(directory) {}

int ContactListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || directory_ == nullptr) return 0;
    return static_cast<int>(directory_->Count());
}

int ContactListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 2;
}

bool ContactListModel::Contact(int row, VCardContact* contact) const {
    if (directory_ == nullptr || row < 0) return false;
    if (row != cachedRow_) {
        ++decodings_;
        cachedOk_ = directory_->Fetch(static_cast<std::size_t>(row), &cached_);
        cachedRow_ = row;
    }
    if (cachedOk_) *contact = cached_;
    return cachedOk_;
}

QVariant ContactListModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid() || index.column() > 1) return QVariant();
    VCardContact contact;
    // A card that cannot be read leaves its cells empty.
    if (!Contact(index.row(), &contact)) return QVariant();
    return ToQString(index.column() == 0 ? contact.name : contact.mobile);
}

QVariant ContactListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
    if (section == 0) return tr("Name");
    if (section == 1) return tr("Phone");
    return QVariant();
}

// --- ContactPickerDialog -------------------------------------------------------------------

ContactPickerDialog::ContactPickerDialog(QWidget* parent) : DialogBase(kTemplateId, parent) {
    setFont(DialogFont());
    setWindowTitle(tr("Select a contact"));
}

QSize ContactPickerDialog::sizeHint() const {
    const DialogUnits du(font());
    return FullScreenSize(QSize(du.X(192), du.Y(132)));
}

bool ContactPickerDialog::OnInitDialog() {
    const DialogUnits du(font());

    ok_ = new QPushButton(tr("OK"), this);
    ok_->setObjectName(QString::number(IDOK));
    ok_->setGeometry(du.Rect(7, 112, 35, 14));
    cancel_ = new QPushButton(tr("Cancel"), this);
    cancel_->setObjectName(QString::number(IDCANCEL));
    cancel_->setGeometry(du.Rect(49, 112, 37, 14));
    ConnectButton(ok_, IDOK);
    ConnectButton(cancel_, IDCANCEL);

    list_ = new QTreeView(this);
    list_->setObjectName(QString::number(kIdcContactList));
    list_->setGeometry(du.Rect(7, 34, 178, 60));
    list_->setRootIsDecorated(false);
    list_->setItemsExpandable(false);
    list_->setUniformRowHeights(true);  // rows are never measured one by one
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setSelectionBehavior(QAbstractItemView::SelectRows);
    list_->setSortingEnabled(false);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list_->setAllColumnsShowFocus(true);
    list_->header()->setSectionsClickable(false);
    list_->header()->setSectionsMovable(false);
    // Each column takes half of the list's width, whatever the width becomes.
    list_->header()->setSectionResizeMode(QHeaderView::Stretch);
    list_->installEventFilter(this);
    connect(list_, &QTreeView::doubleClicked, this, [this] { SendCommand(IDOK); });

    caption_ = new QLabel(tr("Select a contact"), this);
    caption_->setObjectName(QString::number(kIdcCaption));
    caption_->setGeometry(du.Rect(14, 7, 79, 9));
    SetupCaption(this, caption_, ok_, cancel_);

    // The list is filled with drawing off, so it is painted once, complete.
    list_->setUpdatesEnabled(false);
    folderRead_ = folder_.empty() ? ContactsFolderFromSettings() : folder_;
    directory_.Load(folderRead_);
    model_ = new ContactListModel(&directory_, this);
    list_->setModel(model_);
    list_->setUpdatesEnabled(true);

    CreateMenuBar({});  // the empty menu bar
    resize(sizeHint());
    return true;
}

void ContactPickerDialog::Layout(int w, int h) {
    if (list_ == nullptr) return;
    list_->setGeometry(kListMargin, kListTop, qMax(0, w - 2 * kListMargin),
                       qMax(0, h - kListTop - kListMargin));
    LayoutCaption(this, w, h);
    // The caption runs up to the image buttons.
    if (caption_ != nullptr && ok_ != nullptr) {
        caption_->resize(qMax(0, ok_->x() - 4 - caption_->x()), caption_->height());
    }
}

void ContactPickerDialog::Accept() {
    TakeSelection();
}

bool ContactPickerDialog::eventFilter(QObject* watched, QEvent* event) {
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            SendCommand(IDOK);
            return true;
        }
    }
    return DialogBase::eventFilter(watched, event);
}

void ContactPickerDialog::TakeSelection() {
    name_.clear();
    phone_.clear();
    int row = -1;
    if (list_ != nullptr && list_->selectionModel() != nullptr) {
        for (const QModelIndex& index : list_->selectionModel()->selectedRows()) {
            if (row < 0 || index.row() < row) row = index.row();
        }
    }
    VCardContact contact;
    if (row < 0 || model_ == nullptr || !model_->Contact(row, &contact)) {
        EndDialog(IDCANCEL);
        return;
    }
    name_ = contact.name;
    phone_ = contact.mobile;
    EndDialog(IDOK);
}

int RunContactPickerPage(DialogBase* owner, std::u16string* name, std::u16string* phone) {
    ContactPickerDialog picker;
    const int result = picker.RunPage(owner);
    if (result == IDOK) {
        *name = picker.Name();
        *phone = picker.Phone();
    }
    return result;
}
