// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/message_list_view.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QItemSelection>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QStyleHints>
#include <QVBoxLayout>
#include <algorithm>

#include "framework/text_buffer.h"
#include "framework/ui/app_event.h"
#include "framework/ui/dialog_units.h"
#include "framework/ui/message_box.h"
#include "framework/ui/resource_text.h"
#include "framework/ui/ui_fonts.h"
#include "message_ui/ui/contact_picker_dialog.h"
#include "message_ui/ui/message_dialog.h"
#include "message_ui/ui/store_failure.h"
#include "settings/settings_key.h"
#include "settings/ui/connection_dialog.h"
#include "settings/ui/preferences_dialog.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_row_delegate.h"
#include "shell/ui/progress_dialog.h"
#include "store/search_fold.h"
#include "store/transfer_lock.h"

namespace {

constexpr unsigned kStringDeleteQuestion = 2112;
constexpr unsigned kStringNew = 40013;
constexpr unsigned kStringSms = 40008;
constexpr unsigned kStringOptions = 40010;
constexpr unsigned kStringStoreUnusable = 3170;
constexpr unsigned kStringNotStored = 3172;
constexpr unsigned kStringSentNotStored = 3173;
constexpr unsigned kStringNotSent = 3174;
constexpr unsigned kStringRetry = 3175;
constexpr unsigned kStringSendAgain = 3178;
constexpr unsigned kStringNotDeleted = 3181;
constexpr unsigned kStringFind = 3200;
constexpr unsigned kStringAllFolders = 3201;
constexpr unsigned kStringSearchHint = 3202;
constexpr unsigned kStringExport = 3203;
constexpr unsigned kStringImport = 3204;
constexpr unsigned kStringNotExported = 3210;
constexpr unsigned kStringNotImported = 3213;
constexpr unsigned kStringTransferRunning = 3215;

struct FolderEntry {
    unsigned stringId;
    FolderId folder;
};
constexpr FolderEntry kFolderEntries[] = {
    {2051, kFolderInbox}, {2052, kFolderOutbox}, {2053, kFolderDraft},
    {2054, kFolderSent},  {2099, kFolderLog},
};

// The header line under the combo box and the buttons.
constexpr int kSeparatorTop = 24;
constexpr int kListTop = 26;
constexpr int kButtonTop = 2;
constexpr int kButtonBottom = 22;
constexpr int kEdge = 2;

}  // namespace

// --- the list control --------------------------------------------------------------------

MessageListControl::MessageListControl(QWidget* parent) : QListView(parent) {
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setUniformItemSizes(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setDragEnabled(false);
    setAutoScroll(false);
    setFrameShape(QFrame::NoFrame);
    setResizeMode(QListView::Adjust);
    holdTimer_.setSingleShot(true);
    holdTimer_.setInterval(QGuiApplication::styleHints()->mousePressAndHoldInterval());
    connect(&holdTimer_, &QTimer::timeout, this, [this] {
        // Press-and-hold: the menu comes where the stylus rests; the release that follows
        // is no tap.
        holdFired_ = true;
        pressTracked_ = false;
        emit contextMenuAsked(viewport()->mapToGlobal(pressPos_));
    });
}

int MessageListControl::RowHeight() const {
    if (model() != nullptr && model()->rowCount() > 0) {
        const int h = sizeHintForRow(0);
        if (h > 0) return h;
    }
    return 0;
}

void MessageListControl::mousePressEvent(QMouseEvent* event) {
    if (menuOpen_) {
        // The tap that closes the context menu: it neither selects nor opens anything.
        event->accept();
        return;
    }
    // A new tap after the menu closed: the closing tap never reached the list.
    menuJustClosed_ = false;
    holdFired_ = false;
    if (event->button() == Qt::LeftButton) {
        pressPos_ = event->position().toPoint();
        pressRow_ = indexAt(pressPos_).row();
        pressTracked_ = true;
        if (pressRow_ >= 0) holdTimer_.start();
    }
    QListView::mousePressEvent(event);
}

void MessageListControl::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) == 0) {
        QListView::mouseMoveEvent(event);
        return;
    }
    const QPoint pos = event->position().toPoint();
    if (dragging_) {
        DragTo(pos);
        return;
    }
    if (pressTracked_ && pressRow_ >= 0 &&
        (pos - pressPos_).manhattanLength() >= QApplication::startDragDistance()) {
        holdTimer_.stop();
        pressTracked_ = false;
        BeginDrag(pressRow_);
        DragTo(pos);
    }
    // Moves are the drag selection's alone: the view's own press-and-drag extension is off.
}

void MessageListControl::mouseReleaseEvent(QMouseEvent* event) {
    if (menuOpen_) {
        event->accept();
        return;
    }
    holdTimer_.stop();
    if (event->button() != Qt::LeftButton) {
        QListView::mouseReleaseEvent(event);
        return;
    }
    if (dragging_) {
        EndDrag();
        pressTracked_ = false;
        event->accept();
        return;
    }
    const bool tap = pressTracked_ && !holdFired_;
    pressTracked_ = false;
    holdFired_ = false;
    QListView::mouseReleaseEvent(event);
    if (tap) emit tapped(event->modifiers());
}

void MessageListControl::contextMenuEvent(QContextMenuEvent* event) {
    holdTimer_.stop();
    pressTracked_ = false;
    emit contextMenuAsked(event->globalPos());
    event->accept();
}

void MessageListControl::focusOutEvent(QFocusEvent* event) {
    if (dragging_) EndDrag();
    QListView::focusOutEvent(event);
}

void MessageListControl::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            emit openKeyPressed();
            event->accept();
            return;
        case Qt::Key_Delete:
            emit deleteKeyPressed();
            event->accept();
            return;
        default:
            QListView::keyPressEvent(event);
    }
}

void MessageListControl::BeginDrag(int row) {
    dragging_ = true;
    anchor_ = row;
    last_ = row;
    selectionModel()->clearSelection();
    SelectRows(row, row, true);
}

void MessageListControl::SelectRows(int first, int last, bool select) {
    if (first > last) std::swap(first, last);
    if (first < 0 || model() == nullptr) return;
    QItemSelection range(model()->index(first, 0), model()->index(last, 0));
    selectionModel()->select(range,
                             select ? QItemSelectionModel::Select : QItemSelectionModel::Deselect);
}

void MessageListControl::DragTo(const QPoint& pos) {
    // Only rows in sight can be hit: a point outside the list hits none, even where scrolled-
    // away rows lie.
    QModelIndex hit = viewport()->rect().contains(pos) ? indexAt(pos) : QModelIndex();
    if (!hit.isValid()) {
        const int step = RowHeight();
        if (pos.y() < 0) {
            // Above the list: scroll up a row and extend to the first row in sight.
            verticalScrollBar()->setValue(verticalScrollBar()->value() - step);
            hit = indexAt(QPoint(0, 0));
            if (!hit.isValid()) return;
        } else if (pos.y() >= viewport()->height()) {
            // Below: scroll down a row; the selection waits for the next move.
            verticalScrollBar()->setValue(verticalScrollBar()->value() + step);
            return;
        } else {
            return;
        }
    }
    const int a = anchor_;
    const int l = last_;
    const int c = hit.row();
    if (c == l) return;
    // Afterwards exactly the rows from a to c are selected; only rows between l and c change.
    const int oldLow = std::min(a, l), oldHigh = std::max(a, l);
    const int newLow = std::min(a, c), newHigh = std::max(a, c);
    if (oldLow < newLow) SelectRows(oldLow, std::min(oldHigh, newLow - 1), false);
    if (oldHigh > newHigh) SelectRows(std::max(oldLow, newHigh + 1), oldHigh, false);
    if (newLow < oldLow) SelectRows(newLow, std::min(newHigh, oldLow - 1), true);
    if (newHigh > oldHigh) SelectRows(std::max(newLow, oldHigh + 1), newHigh, true);
    last_ = c;
}

// --- the message list ------------------------------------------------------------------

MessageListView::MessageListView() : DialogBase(kTemplateId) {
    AddCommands();
}

void MessageListView::AddCommands() {
    AddCommand(kCmdNew, [this] { NewMessage(false); });
    AddCommand(kCmdDelete, [this] { DeleteSelected(); });
    AddCommand(kCmdReply, [this] { ReplyOrForward(true); });
    AddCommand(kCmdForward, [this] { ReplyOrForward(false); });
    AddCommand(kCmdSendAgain, [this] { SendAgain(); });
    AddCommand(kCmdPickContact, [this] { PickContact(); });
    AddCommand(kSendAndGetId, [this] { Transfer(); });
    AddCommand(kGetId, [this] { Transfer(); });
    AddCommand(kCmdConnection, [this] { RunConnectionDialog(); });
    AddCommand(kCmdPreferences, [this] { RunPreferencesDialog(); });
    AddCommand(kCmdExit, [this] { EndDialog(IDOK); });
    AddCommand(kCmdExport, [this] { ExportMessages(); });
    AddCommand(kCmdImport, [this] { ImportMessages(); });
    QAction* find = AddCommand(kCmdFind, [this] { ShowSearch(); });
    // Ctrl+F wherever the focus is on the page; the command is added to the page so that its
    // shortcut is live.
    find->setShortcut(QKeySequence::Find);
    find->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    addAction(find);
}

MessageListView::~MessageListView() = default;

int MessageListView::RowHeight() const {
    return delegate_ != nullptr ? delegate_->RowHeight() : 0;
}

bool MessageListView::OnInitDialog() {
    setFont(DialogPixelFont());
    const DialogUnits units(DialogPixelFont());

    combo_ = new QComboBox(this);
    combo_->setObjectName(QString::number(kFolderComboId));
    combo_->setFont(GetUiFont(UiFont::SmallBold));
    for (const FolderEntry& entry : kFolderEntries) {
        combo_->addItem(ResourceText(entry.stringId), QVariant::fromValue<quint32>(entry.folder));
    }
    const QRect comboRect = units.SizedRect(27, 3, 44, 84);
    // Wide enough for the longest folder name in the face really used, which may be wider than
    // the template's.
    combo_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    combo_->ensurePolished();
    combo_->setGeometry(comboRect.left(), comboRect.top(),
                        qMax(comboRect.width(), combo_->sizeHint().width()),
                        combo_->sizeHint().height());
    connect(combo_, &QComboBox::activated, this, [this](int index) { OnFolderChosen(index); });

    sendAndGet_ = new QPushButton(tr("Send && Get"), this);
    sendAndGet_->setObjectName(QString::number(kSendAndGetId));
    sendAndGet_->setGeometry(units.SizedRect(81, 2, 47, 12));
    sendAndGet_->hide();
    ConnectButton(sendAndGet_, kSendAndGetId);

    get_ = new QPushButton(tr("Get"), this);
    get_->setObjectName(QString::number(kGetId));
    get_->setGeometry(units.SizedRect(105, 2, 34, 12));
    ConnectButton(get_, kGetId);

    separator_ = new QFrame(this);
    separator_->setObjectName(QLatin1String(kHeaderLineName));
    separator_->setAutoFillBackground(true);
    QPalette linePalette = separator_->palette();
    linePalette.setColor(QPalette::Window, palette().color(QPalette::WindowText));
    separator_->setPalette(linePalette);

    model_ = new MessageListModel(this);
    delegate_ = new MessageRowDelegate(this);
    list_ = new MessageListControl(this);
    list_->setObjectName(QString::number(kListId));
    list_->setFont(DialogPixelFont());
    list_->setModel(model_);
    list_->setItemDelegate(delegate_);
    connect(list_, &MessageListControl::tapped, this,
            [this](Qt::KeyboardModifiers modifiers) { OnTapped(modifiers); });
    // The menu runs its own event loop: it waits until the press or the hold that asked for it
    // has been handled.
    connect(list_, &MessageListControl::contextMenuAsked, this, &MessageListView::ShowContextMenu,
            Qt::QueuedConnection);
    connect(list_, &MessageListControl::openKeyPressed, this, [this] { OpenSelected(); });
    connect(list_, &MessageListControl::deleteKeyPressed, this,
            [this] { SendCommand(kCmdDelete); });
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { UpdateSendAgain(); });

    storeBanner_ = new QFrame(this);
    storeBanner_->setObjectName(QStringLiteral("storeBanner"));
    storeBanner_->setFrameShape(QFrame::StyledPanel);
    storeBanner_->hide();
    auto* bannerLayout = new QVBoxLayout(storeBanner_);
    bannerLayout->setContentsMargins(4, 4, 4, 4);
    storeBannerText_ = new QLabel(storeBanner_);
    storeBannerText_->setObjectName(QStringLiteral("storeProblem"));
    storeBannerText_->setTextFormat(Qt::PlainText);
    storeBannerText_->setWordWrap(true);
    bannerLayout->addWidget(storeBannerText_);
    storeRetry_ = new QPushButton(ResourceText(kStringRetry), storeBanner_);
    storeRetry_->setObjectName(QStringLiteral("storeRetry"));
    bannerLayout->addWidget(storeRetry_, 0, Qt::AlignRight);
    connect(storeRetry_, &QPushButton::clicked, this, [this] { RetryStore(); });

    // The search line: hidden until Find.
    searchBar_ = new QWidget(this);
    searchBar_->setObjectName(QStringLiteral("searchBar"));
    searchBar_->hide();
    auto* searchLayout = new QHBoxLayout(searchBar_);
    searchLayout->setContentsMargins(kEdge, kEdge, kEdge, kEdge);
    searchField_ = new QLineEdit(searchBar_);
    searchField_->setObjectName(QStringLiteral("searchField"));
    searchField_->setPlaceholderText(ResourceText(kStringSearchHint));
    searchField_->installEventFilter(this);
    searchLayout->addWidget(searchField_, 1);
    allFolders_ = new QCheckBox(ResourceText(kStringAllFolders), searchBar_);
    allFolders_->setObjectName(QStringLiteral("allFolders"));
    searchLayout->addWidget(allFolders_);
    connect(searchField_, &QLineEdit::textChanged, this, [this] { ApplySearch(); });
    connect(allFolders_, &QCheckBox::toggled, this, [this] { ApplySearch(); });

    // A store that cannot be opened leaves the list empty; the program stays usable, says why
    // and offers to try again.
    if (OpenMessageStore(db_)) {
        // Opened, perhaps only after a damaged file was set aside: the person is told.
        startProblem_ = TakeStoreNoticeText();
    } else {
        storeProblem_ = StoreFailureReason(&db_);
        startProblem_ = FormatResourceText(kStringStoreUnusable, storeProblem_);
    }
    model_->SetDatabase(&db_);
    currentFolder_ = 0;
    SwitchFolder(kFolderInbox);

    // Once the list is on screen, in this order: the box about the store, the add-in
    // registration, the command line.
    if (!startProblem_.isEmpty()) {
        QMetaObject::invokeMethod(
            this, [this] { ShowStartProblem(); }, Qt::QueuedConnection);
    }
    QMetaObject::invokeMethod(
        this, [this] { UpdateContactsAddIn(); }, Qt::QueuedConnection);
    if (HasCommandLine()) PostAppMessage(this, kMsgCommandLine);
    return true;
}

MenuBarDef MessageListView::MenuBarDefinition() const {
    return {
        {kCmdNew, ResourceText(kStringNew), {}},
        {kCmdSmsMenu,
         ResourceText(kStringSms),
         {{kCmdDelete, tr("Delete")},
          {0, {}},
          {kCmdReply, tr("Reply")},
          {kCmdForward, tr("Forward")},
          {0, {}},
          {kCmdSendAgain, ResourceText(kStringSendAgain)},
          {0, {}},
          {kCmdFind, ResourceText(kStringFind)}}},
        {kCmdOptionsMenu,
         ResourceText(kStringOptions),
         {{kCmdExit, tr("Exit")},
          {0, {}},
          {kCmdAbout, tr("About")},
          {0, {}},
          {kCmdConnection, tr("Connection")},
          {kCmdPreferences, tr("Preferences")},
          {0, {}},
          {kCmdExport, ResourceText(kStringExport)},
          {kCmdImport, ResourceText(kStringImport)}}},
    };
}

void MessageListView::Layout(int w, int h) {
    if (list_ == nullptr) return;
    combo_->move(kEdge, kEdge);
    for (QPushButton* button : {sendAndGet_, get_}) {
        button->setGeometry(w - kEdge - button->width(), kButtonTop, button->width(),
                            kButtonBottom - kButtonTop);
    }
    // The search line, then the line about a store that cannot be opened, stand between the
    // header and the rows.
    int top = kListTop;
    if (!searchBar_->isHidden()) {
        const int searchHeight = searchBar_->sizeHint().height();
        searchBar_->setGeometry(0, top, w, searchHeight);
        top += searchHeight;
    }
    if (!storeBanner_->isHidden()) {
        const int bannerHeight = storeBanner_->hasHeightForWidth()
                                     ? storeBanner_->heightForWidth(w)
                                     : storeBanner_->sizeHint().height();
        storeBanner_->setGeometry(0, top, w, bannerHeight);
        top += bannerHeight;
    }
    list_->setGeometry(0, top, w, qMax(0, h - top));
    separator_->setGeometry(0, kSeparatorTop, w, 1);
}

void MessageListView::UpdateStoreBanner() {
    const bool show = !db_.IsOpen();
    const QString text = show ? storeProblem_ : QString();
    if (show != storeBanner_->isHidden() && text == storeBannerText_->text()) return;
    storeBannerText_->setText(text);
    storeBanner_->setVisible(show);
    // The rows move down to make room for the line, or back up.
    LayoutNow();
}

void MessageListView::LayoutNow() {
    const QSize client = ClientSize();
    Layout(client.width(), client.height());
}

bool MessageListView::Filtered() const {
    return searchBar_ != nullptr && !searchBar_->isHidden() &&
           !SearchWords(searchField_->text().toStdU16String()).empty();
}

void MessageListView::ShowSearch() {
    if (searchBar_->isHidden()) {
        searchBar_->show();
        LayoutNow();
    }
    searchField_->setFocus();
    searchField_->selectAll();
}

void MessageListView::CloseSearch() {
    if (searchBar_->isHidden()) return;
    const bool wasFiltered = Filtered();
    {
        const QSignalBlocker block(searchField_);
        searchField_->clear();
    }
    searchBar_->hide();
    LayoutNow();
    // The folder again; Reload keeps the message that was selected among the matches.
    if (wasFiltered) {
        Reload();
    } else {
        list_->setFocus();
    }
}

void MessageListView::Reject() {
    CloseSearch();
}

bool MessageListView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == searchField_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        // From the field down into the rows, to open or delete what was found.
        if (key == Qt::Key_Down || key == Qt::Key_Return || key == Qt::Key_Enter) {
            if (model_->rowCount() > 0) {
                if (list_->selectionModel()->selectedRows().isEmpty()) {
                    list_->selectionModel()->setCurrentIndex(model_->index(0, 0),
                                                             QItemSelectionModel::ClearAndSelect);
                }
                list_->setFocus();
            }
            return true;
        }
    }
    return DialogBase::eventFilter(watched, event);
}

void MessageListView::ApplySearch() {
    if (list_ == nullptr) return;
    // Typing goes on in the field: the reload leaves the focus where it is.
    keepFocus_ = true;
    Reload();
    keepFocus_ = false;
}

void MessageListView::LoadRows() {
    if (!Filtered()) {
        model_->Load(currentFolder_);
        return;
    }
    model_->LoadSearch(searchField_->text().toStdU16String(),
                       allFolders_->isChecked() ? kEveryFolder : currentFolder_);
}

void MessageListView::RetryStore() {
    QString problem;
    if (EnsureStoreOpen(&problem)) {
        Reload();
        list_->setFocus();
    } else {
        UpdateStoreBanner();
    }
}

bool MessageListView::EnsureStoreOpen(QString* problem) {
    if (db_.IsOpen()) return true;
    if (!OpenMessageStore(db_)) {
        storeProblem_ = StoreFailureReason(&db_);
        if (problem != nullptr) *problem = storeProblem_;
        return false;
    }
    storeProblem_.clear();
    // Opened, perhaps only after a damaged file was set aside: the person is told.
    const QString notices = TakeStoreNoticeText();
    if (!notices.isEmpty()) ShowMessageBox(this, notices, BoxKind::Error);
    return true;
}

bool MessageListView::StoreWritable(QString* problem) {
    if (!EnsureStoreOpen(problem)) return false;
    // The write lock is taken and given back at once: a store that another program holds, or
    // that refuses writes, says so now rather than after the message went out.
    MessageStoreBatch batch(db_);
    if (batch.Started()) return true;
    *problem = StoreFailureReason(&db_);
    return false;
}

bool MessageListView::SaveMessage(SmsMessage& message, QString* problem) {
    if (!EnsureStoreOpen(problem)) return false;
    if (WriteMessage(db_, message)) return true;
    *problem = StoreFailureReason(&db_);
    return false;
}

void MessageListView::SwitchFolder(FolderId f) {
    if (f != currentFolder_) {
        currentFolder_ = f;
        // The "Log" has no entry at index 254, so the combo box shows no selection until it
        // is next opened.
        combo_->setCurrentIndex(static_cast<int>(f) - 1);
        combo_->update();
    }
    Reload();
}

void MessageListView::OnFolderChosen(int index) {
    if (index < 0) return;
    const QVariant data = combo_->itemData(index);
    if (!data.isValid()) return;
    SwitchFolder(data.value<quint32>());
    combo_->update();
}

std::vector<int> MessageListView::SelectedRows() const {
    std::vector<int> rows;
    if (list_ == nullptr) return rows;
    const QModelIndexList selected = list_->selectionModel()->selectedRows();
    rows.reserve(static_cast<std::size_t>(selected.size()));
    for (const QModelIndex& index : selected) rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

int MessageListView::FirstSelectedRow() const {
    const std::vector<int> rows = SelectedRows();
    return rows.empty() ? -1 : rows.front();
}

void MessageListView::Reload() {
    UpdateStoreBanner();
    const Oid remembered = model_->OidAt(FirstSelectedRow());
    delegate_->SetToday(TodayDateText());
    // Matches from every folder are drawn as the "Log" draws its mix of folders.
    delegate_->SetLogView(currentFolder_ == kFolderLog || (Filtered() && allFolders_->isChecked()));

    list_->setUpdatesEnabled(false);
    LoadRows();
    // The whole store is looked at, whatever the folder, so the Outbox count is complete.
    std::uint32_t outbox = 0;
    if (!db_.CountFolder(kFolderOutbox, &outbox)) outbox = 0;
    sendAndGet_->setVisible(outbox != 0);
    get_->setVisible(outbox == 0);

    if (remembered != 0) {
        const int row = model_->FetchRowOf(remembered);
        if (row >= 0) {
            const QModelIndex index = model_->index(row, 0);
            list_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
            list_->scrollTo(index);
        }
    }
    if (!keepFocus_) list_->setFocus();
    list_->SetMenuJustClosed(false);
    list_->setUpdatesEnabled(true);
    UpdateSendAgain();
}

void MessageListView::OnActivate() {
    DialogBase::OnActivate();
    UpdateSendAgain();
}

bool MessageListView::SelectedMaySendAgain() const {
    if (list_ == nullptr || list_->selectionModel()->selectedRows().size() != 1) return false;
    const SmsMessage* message = model_->MessageAt(FirstSelectedRow());
    return message != nullptr && message->folder == kFolderOutbox &&
           (message->flags & kFlagMayHaveBeenSent) != 0;
}

void MessageListView::UpdateSendAgain() {
    Command(kCmdSendAgain)->setEnabled(SelectedMaySendAgain());
}

void MessageListView::Refresh() {
    if (list_ != nullptr) list_->viewport()->update();
}

bool MessageListView::OnAppMessage(std::uint32_t message, std::uintptr_t, std::intptr_t) {
    if (message != kMsgCommandLine) return false;
    NewMessage(true);
    return true;
}

void MessageListView::ShowStartProblem() {
    if (startProblem_.isEmpty()) return;
    const QString text = startProblem_;
    startProblem_.clear();
    ShowMessageBox(this, text, BoxKind::Error);
}

void MessageListView::OnTapped(Qt::KeyboardModifiers modifiers) {
    if (list_->MenuJustClosed()) {
        list_->SetMenuJustClosed(false);
        return;
    }
    // Shift and Control taps only change the selection.
    if ((modifiers & (Qt::ShiftModifier | Qt::ControlModifier)) != 0) return;
    if (list_->IsDragging()) return;
    OpenSelected();
}

void MessageListView::ShowContextMenu(const QPoint& globalPos) {
    QMenu menu(list_);
    menu.setObjectName(QString::number(kContextMenuId));
    std::vector<std::pair<int, QString>> items = {{kCmdReply, tr("Reply")},
                                                  {kCmdForward, tr("Forward")},
                                                  {0, QString()},
                                                  {kCmdDelete, tr("Delete")}};
    // Offered only where it applies: on an Outbox message that may have been sent.
    if (SelectedMaySendAgain()) {
        items.push_back({0, QString()});
        items.push_back({kCmdSendAgain, ResourceText(kStringSendAgain)});
    }
    for (const auto& [id, label] : items) {
        if (id == 0) {
            menu.addSeparator();
            continue;
        }
        QAction* action = menu.addAction(label);
        action->setObjectName(QString::number(id));
        action->setData(id);
    }
    list_->SetMenuOpen(true);
    QAction* chosen = menu.exec(globalPos);
    list_->SetMenuOpen(false);
    if (chosen != nullptr) SendCommand(chosen->data().toInt());
    list_->SetMenuJustClosed(true);
}

void MessageListView::NewMessage(bool fromCommandLine) {
    RegistryKey key;
    if (!OpenSettings(key)) return;
    const bool flash = ReadSettingFlag(key, kValueFlash);
    key.Close();

    SmsMessage message;
    if (flash) message.flags |= kFlagFlash;
    if (fromCommandLine && !CommandLineRecipient(message)) return;
    RunAndSave(message);
}

void MessageListView::PickContact() {
    std::u16string name, number;
    if (RunContactPicker(&name, &number) != IDOK) return;
    SmsMessage message;
    message.name = name;
    message.number = number;
    RunAndSave(message);
}

void MessageListView::RunAndSave(SmsMessage& message) {
    storedByDialog_ = false;
    if (RunMessageDialog(message) == IDOK && !storedByDialog_) {
        QString problem;
        if (!SaveMessage(message, &problem)) {
            ShowMessageBox(
                this, FormatResourceText(kStringNotStored, FolderName(message.folder), problem),
                BoxKind::Error);
        }
    }
    Reload();
}

void MessageListView::OpenSelected() {
    const Oid oid = model_->OidAt(FirstSelectedRow());
    if (oid == 0) return;
    SmsMessage message;
    message.oid = oid;
    if (!ReadById(db_, message)) return;
    RunAndSave(message);
}

void MessageListView::ReplyOrForward(bool reply) {
    if (list_->selectionModel()->selectedRows().size() != 1) return;
    const Oid oid = model_->OidAt(FirstSelectedRow());
    if (oid == 0) return;
    SmsMessage message;
    message.oid = oid;
    if (!ReadById(db_, message)) return;
    // A new Draft: saving it creates a new record and the selected message stays as it is.
    if (reply) {
        MakeReply(message);
    } else {
        MakeForward(message);
    }
    RunAndSave(message);
}

void MessageListView::DeleteSelected() {
    const std::vector<int> rows = SelectedRows();
    if (rows.empty()) return;
    if (ShowMessageBox(this, ResourceText(kStringDeleteQuestion), BoxKind::Question) != IDYES) {
        return;
    }
    list_->setUpdatesEnabled(false);
    std::vector<int> deleted;
    QString problem;
    {
        // One transaction for the whole selection; a row whose record cannot be deleted stays.
        MessageStoreBatch batch(db_);
        std::lock_guard<std::recursive_mutex> lock(MessageStoreLock());
        if (!batch.Started()) {
            problem = StoreFailureReason(&db_);
        } else {
            for (int row : rows) {
                const Oid oid = model_->OidAt(row);
                if (oid == 0) continue;
                if (db_.DeleteRecord(oid)) {
                    deleted.push_back(row);
                } else if (problem.isEmpty()) {
                    problem = StoreFailureReason(&db_);
                }
            }
            if (!batch.Commit()) {
                deleted.clear();
                problem = StoreFailureReason(&db_);
            }
        }
    }
    model_->RemoveRows(deleted);
    list_->setUpdatesEnabled(true);
    list_->viewport()->update();
    if (!problem.isEmpty()) {
        ShowMessageBox(this, FormatResourceText(kStringNotDeleted, problem), BoxKind::Error);
    }
}

void MessageListView::Transfer() {
    if (importing_) return;
    std::unique_ptr<ProgressDialog> dialog = CreateProgressDialog();
    if (dialog == nullptr) return;
    RunTransfer(*dialog, this);
    dialog.reset();
    if (currentFolder_ == kFolderLog) {
        Reload();
    } else {
        SwitchFolder(kFolderInbox);
    }
}

void MessageListView::SendAgain() {
    if (importing_ || !SelectedMaySendAgain()) return;
    SmsMessage message;
    message.oid = model_->OidAt(FirstSelectedRow());
    if (message.oid == 0 || !ReadById(db_, message)) return;
    // Nothing goes out that could not be recorded afterwards.
    QString problem;
    if (!StoreWritable(&problem)) {
        ShowMessageBox(this, FormatResourceText(kStringNotSent, problem), BoxKind::Error);
        return;
    }
    std::unique_ptr<ProgressDialog> progress = CreateProgressDialog();
    if (progress == nullptr) return;
    progress->Session().SetSingleMessage(&message);
    const int result = RunTransfer(*progress, this);
    progress.reset();
    if (result == IDOK) {
        // The same record moves to Sent; what the Outbox said about it no longer holds. A send
        // that failed leaves it in the Outbox with its mark.
        message.folder = kFolderSent;
        message.flags &= ~(kFlagMayHaveBeenSent | kFlagNotEncodable | kFlagUnread);
        if (!SaveMessage(message, &problem)) {
            ShowMessageBox(this, FormatResourceText(kStringSentNotStored, problem), BoxKind::Error);
        }
    }
    Reload();
}

void MessageListView::ExportMessages() {
    QString problem;
    if (!EnsureStoreOpen(&problem)) {
        UpdateStoreBanner();
        ShowMessageBox(this, FormatResourceText(kStringNotExported, problem), BoxKind::Error);
        return;
    }
    ExportChoice choice;
    if (!ChooseExport(&choice)) return;
    bool ok = false;
    const QString report = ExportWithReport(this, choice, &ok);
    ShowMessageBox(this, report, ok ? BoxKind::Information : BoxKind::Error);
}

void MessageListView::SetTransfersAllowed(bool allowed) {
    for (int id : {kSendAndGetId, kGetId, kCmdSendAgain}) Command(id)->setEnabled(allowed);
    sendAndGet_->setEnabled(allowed);
    get_->setEnabled(allowed);
    if (allowed) UpdateSendAgain();
}

void MessageListView::ImportMessages() {
    if (importing_) return;
    const QString path = ChooseImportFile();
    if (path.isEmpty()) return;
    QString problem;
    if (!EnsureStoreOpen(&problem)) {
        UpdateStoreBanner();
        ShowMessageBox(this, FormatResourceText(kStringNotImported, problem), BoxKind::Error);
        return;
    }
    // An import and a transfer never run together: the transfer would send from and store
    // into an Outbox and Inbox that the import is still filling. The import holds the transfer
    // lock, which a transfer of this program or of velkan waits for and then gives up on.
    TransferLock lock;
    std::string why;
    switch (lock.TryTake(&why)) {
        case TransferLock::Outcome::kTaken:
            break;
        case TransferLock::Outcome::kBusy:
            ShowMessageBox(this, ResourceText(kStringTransferRunning), BoxKind::Error);
            return;
        case TransferLock::Outcome::kFailed:
            ShowMessageBox(this,
                           FormatResourceText(kStringNotImported, QString::fromStdString(why)),
                           BoxKind::Error);
            return;
    }
    importing_ = true;
    SetTransfersAllowed(false);
    const ImportOutcome outcome = ImportWithProgress(
        this, path, [this](QProgressDialog& progress) { ImportRunning(progress); });
    lock.Release();
    importing_ = false;
    SetTransfersAllowed(true);
    Reload();
    ShowMessageBox(this, outcome.text, outcome.ok ? BoxKind::Information : BoxKind::Error);
}

// --- the screens the list opens ----------------------------------------------------------

int MessageListView::RunMessageDialog(SmsMessage& message) {
    MessageDialog dialog(message);
    // The dialog keeps its message in the list's store, and stays open when that fails.
    dialog.SetStore([this](QString* problem) { return StoreWritable(problem); },
                    [this](SmsMessage& toStore, QString* problem) {
                        const bool stored = SaveMessage(toStore, problem);
                        if (stored) storedByDialog_ = true;
                        return stored;
                    });
    // The dialog's Send runs a send-only transfer of its message through the same progress
    // dialog as the list's own transfers.
    dialog.SetSendRunner([this](SmsMessage& toSend, QWidget* owner) {
        std::unique_ptr<ProgressDialog> progress = CreateProgressDialog();
        if (progress == nullptr) return IDCANCEL;
        progress->Session().SetSingleMessage(&toSend);
        return RunTransfer(*progress, owner);
    });
    return dialog.RunPage(this);
}

int MessageListView::RunContactPicker(std::u16string* name, std::u16string* number) {
    return RunContactPickerPage(this, name, number);
}

void MessageListView::RunConnectionDialog() {
    ConnectionDialog dialog;
    dialog.RunPage(this);
}

void MessageListView::RunPreferencesDialog() {
    PreferencesDialog dialog;
    dialog.RunPage(this);
}

std::unique_ptr<ProgressDialog> MessageListView::CreateProgressDialog() {
    return std::make_unique<ProgressDialog>();
}

// The command line belongs to the frame window and the add-in registration to the shell: the
// program's own list supplies both. A list on its own has no command line and registers nothing.
bool MessageListView::HasCommandLine() const {
    return false;
}

bool MessageListView::CommandLineRecipient(SmsMessage& message) {
    (void)message;
    return false;
}

void MessageListView::UpdateContactsAddIn() {}

bool MessageListView::ChooseExport(ExportChoice* choice) {
    const QString shownName = currentFolder_ == kFolderLog ? combo_->itemText(combo_->count() - 1)
                                                           : FolderName(currentFolder_);
    return AskExportChoice(this, currentFolder_, shownName, choice);
}

QString MessageListView::ChooseImportFile() {
    return AskImportFile(this);
}

void MessageListView::ImportRunning(QProgressDialog& progress) {
    (void)progress;
}
