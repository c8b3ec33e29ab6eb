// SPDX-License-Identifier: GPL-3.0-or-later
// The message list as a user meets it: folders, the transfer buttons, rows newest first,
// opening, reply and forward, the context menu, deletion, selection across reloads, drag
// selection, the commands of the menu bar and the layout.
#include "shell/ui/message_list_view.h"

#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyleOption>
#include <QTimer>
#include <QToolButton>
#include <QtTest>
#include <functional>
#include <memory>

#include "framework/ui/app_event.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "settings/settings_key.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_row_delegate.h"
#include "shell/ui/progress_dialog.h"

namespace {

// What the compose and read dialog was given.
struct SeenMessage {
    std::u16string name, number, text;
    FolderId folder;
    Oid oid;
    std::uint32_t flags;
    FileTime time;
};

class TestList : public ShownHook<MessageListView> {
  public:
    std::vector<SeenMessage> dialogCalls;
    int dialogResult = IDCANCEL;
    std::function<void(SmsMessage&)> editInDialog;
    int pickerResult = IDCANCEL;
    std::u16string pickedName, pickedNumber;
    int connectionRuns = 0, preferencesRuns = 0, addInRuns = 0;
    bool commandLine = false;
    bool commandLineParses = true;
    std::function<std::unique_ptr<ProgressDialog>()> progressFactory;

  protected:
    int RunMessageDialog(SmsMessage& m) override {
        dialogCalls.push_back({m.name, m.number, m.text, m.folder, m.oid, m.flags, m.time});
        if (editInDialog) editInDialog(m);
        return dialogResult;
    }
    int RunContactPicker(std::u16string* name, std::u16string* number) override {
        *name = pickedName;
        *number = pickedNumber;
        return pickerResult;
    }
    void RunConnectionDialog() override { ++connectionRuns; }
    void RunPreferencesDialog() override { ++preferencesRuns; }
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override {
        return progressFactory ? progressFactory() : nullptr;
    }
    bool HasCommandLine() const override { return commandLine; }
    bool CommandLineRecipient(SmsMessage& m) override {
        if (!commandLineParses) return false;
        m.number = u"0123";
        m.name = u"Anna";
        return true;
    }
    void UpdateContactsAddIn() override { ++addInRuns; }
};

// Runs the list as the program's page; `body` acts on it, then the list ends.
int RunList(TestList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

QPoint RowCenter(MessageListControl* list, int row) {
    return list->visualRect(list->model()->index(row, 0)).center();
}

void SendMouse(QWidget* target, QEvent::Type type, QPoint pos, Qt::MouseButton button,
               Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QMouseEvent event(type, QPointF(pos), QPointF(target->mapToGlobal(pos)), button, buttons,
                      modifiers);
    QApplication::sendEvent(target, &event);
}

void Tap(MessageListControl* list, int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers, RowCenter(list, row));
}

void Select(MessageListControl* list, std::initializer_list<int> rows) {
    list->selectionModel()->clearSelection();
    for (int r : rows) {
        list->selectionModel()->select(list->model()->index(r, 0), QItemSelectionModel::Select);
    }
}

std::vector<int> Selected(TestList& list) {
    return list.SelectedRows();
}

std::vector<Oid> RowOids(TestList& list) {
    std::vector<Oid> oids;
    for (int r = 0; r < list.Model()->rowCount(); ++r) oids.push_back(list.Model()->OidAt(r));
    return oids;
}

// Calls `action` with the context menu once it is shown (it runs its own event loop).
void WhenMenuShown(QObject* context, std::function<void(QMenu*)> action) {
    auto* timer = new QTimer(context);
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, context, [timer, action] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu == nullptr || !menu->isVisible()) return;
        timer->stop();
        timer->deleteLater();
        action(menu);
    });
    timer->start();
}

void ClickAction(QMenu* menu, int id) {
    for (QAction* a : menu->actions()) {
        if (a->objectName() == QString::number(id)) {
            QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier,
                              menu->actionGeometry(a).center());
            return;
        }
    }
}

QStringList ActionNames(const QMenu* menu) {
    QStringList names;
    for (const QAction* a : menu->actions()) {
        names << (a->isSeparator() ? QStringLiteral("-") : a->objectName() + u' ' + a->text());
    }
    return names;
}

// Collects the regions a widget is asked to paint.
class PaintRecorder : public QObject {
  public:
    explicit PaintRecorder(QWidget* widget) { widget->installEventFilter(this); }
    QRegion region;

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

}  // namespace

class MessageListViewTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        CreateUiFonts();
    }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
        clock = std::make_unique<FixedLocalTime>(SystemTime{2024, 5, 0, 10, 14, 30, 0, 0});
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        clock.reset();
        env.reset();
    }

    // --- set-up, folders and buttons ---------------------------------------------------

    void startsOnTheInboxWithTheFiveFolders() {
        TestList list;
        RunList(list, [&] {
            QComboBox* combo = list.FolderCombo();
            QVERIFY(combo == list.Control(MessageListView::kFolderComboId));
            QCOMPARE(combo->objectName(), QStringLiteral("1008"));
            QCOMPARE(combo->count(), 5);
            const QStringList names = {"Inbox", "Outbox", "Draft", "Sent", "Log"};
            const quint32 data[] = {1, 2, 3, 4, 255};
            for (int i = 0; i < 5; ++i) {
                QCOMPARE(combo->itemText(i), names[i]);
                QCOMPARE(combo->itemData(i).value<quint32>(), data[i]);
            }
            QCOMPARE(combo->currentIndex(), 0);
            QCOMPARE(combo->font().pixelSize(), GetUiFont(UiFont::SmallBold).pixelSize());
            QVERIFY(combo->font().bold());
            QCOMPARE(list.CurrentFolder(), kFolderInbox);
            QVERIFY(list.Control(MessageListView::kListId) == list.List());
            QTRY_COMPARE(list.addInRuns, 1);
        });
    }

    void theMenuBarHasNewSmsAndOptions() {
        TestList list;
        RunList(list, [&] {
            MenuBar* bar = list.Bar();
            QVERIFY(bar != nullptr);
            auto* newButton = bar->EntryButton(MessageListView::kCmdNew);
            QVERIFY(newButton != nullptr);
            QCOMPARE(newButton->text(), QStringLiteral("New"));
            QCOMPARE(bar->EntryButton(MessageListView::kCmdSmsMenu)->text(), QStringLiteral("Sms"));
            QCOMPARE(bar->EntryButton(MessageListView::kCmdOptionsMenu)->text(),
                     QStringLiteral("Options"));
            QCOMPARE(ActionNames(bar->PopupOf(MessageListView::kCmdSmsMenu)),
                     QStringList({"40068 Delete", "-", "40069 Reply", "40070 Forward", "-",
                                  "40071 Send again", "-", "40080 Find"}));
            QCOMPARE(ActionNames(bar->PopupOf(MessageListView::kCmdOptionsMenu)),
                     QStringList({"57665 Exit", "-", "57664 About", "-", "40065 Connection",
                                  "40066 Preferences", "-", "40081 Export...", "40082 Import..."}));
        });
    }

    void onlyGetIsShownWhileTheOutboxIsEmpty() {
        StoreMessage(MakeMessage(kFolderInbox, u"A", u"1", u"x", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            QVERIFY(!list.Control(MessageListView::kGetId)->isHidden());
            QVERIFY(list.Control(MessageListView::kSendAndGetId)->isHidden());
        });
    }

    void withAMessageInTheOutboxOnlySendAndGetIsShownInEveryFolder() {
        StoreMessage(MakeMessage(kFolderOutbox, u"A", u"1", u"x", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            auto* sendAndGet = list.ControlAs<QPushButton>(MessageListView::kSendAndGetId);
            QCOMPARE(sendAndGet->text(), QStringLiteral("Send && Get"));
            for (FolderId f : {kFolderInbox, kFolderDraft, kFolderLog}) {
                list.SwitchFolder(f);
                QVERIFY(!sendAndGet->isHidden());
                QVERIFY(list.Control(MessageListView::kGetId)->isHidden());
            }
        });
    }

    void theButtonFollowsTheOutboxAtEachReload() {
        TestList list;
        RunList(list, [&] {
            QVERIFY(list.Control(MessageListView::kSendAndGetId)->isHidden());
            const Oid o = StoreMessage(
                MakeMessage(kFolderOutbox, u"A", u"1", u"x", MakeTime(2024, 5, 1, 8, 0)));
            list.Reload();
            QVERIFY(!list.Control(MessageListView::kSendAndGetId)->isHidden());
            QVERIFY(list.Control(MessageListView::kGetId)->isHidden());
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            QVERIFY(db.DeleteRecord(o));
            list.Reload();
            QVERIFY(list.Control(MessageListView::kSendAndGetId)->isHidden());
            QVERIFY(!list.Control(MessageListView::kGetId)->isHidden());
        });
    }

    void rowsAreNewestFirstAndOnlyOfTheFolder() {
        const Oid a = StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        const Oid c = StoreMessage(MakeMessage(1, u"C", u"", u"", MakeTime(2024, 5, 3, 8, 0)));
        const Oid b = StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(kFolderSent, u"S", u"", u"", MakeTime(2024, 5, 4, 8, 0)));
        StoreMessage(MakeMessage(kFolderDraft, u"D", u"", u"", MakeTime(2024, 5, 5, 8, 0)));
        TestList list;
        RunList(list, [&] { QCOMPARE(RowOids(list), (std::vector<Oid>{c, b, a})); });
    }

    void theLogShowsInboxAndSentTogetherAndTheComboNoEntry() {
        const Oid in1 = StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        const Oid sent = StoreMessage(MakeMessage(4, u"S", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(kFolderOutbox, u"O", u"", u"", MakeTime(2024, 5, 3, 8, 0)));
        const Oid in2 = StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 4, 8, 0)));
        TestList list;
        RunList(list, [&] {
            QComboBox* combo = list.FolderCombo();
            combo->setCurrentIndex(4);
            emit combo->activated(4);
            QCOMPARE(list.CurrentFolder(), kFolderLog);
            QCOMPARE(combo->currentIndex(), -1);
            QVERIFY(list.Delegate()->LogView());
            QCOMPARE(RowOids(list), (std::vector<Oid>{in2, sent, in1}));
            combo->setCurrentIndex(3);
            emit combo->activated(3);
            QCOMPARE(list.CurrentFolder(), kFolderSent);
            QCOMPARE(combo->currentIndex(), 3);
            QVERIFY(!list.Delegate()->LogView());
            QCOMPARE(RowOids(list), (std::vector<Oid>{sent}));
        });
    }

    // --- drawing ------------------------------------------------------------------------

    void rowsSpanTheListAndHoldTwoLines() {
        StoreMessage(MakeMessage(1, u"A", u"", u"x", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            const QRect r = l->visualRect(l->model()->index(0, 0));
            QCOMPARE(r.width(), l->viewport()->width());
            // A line is as tall as the tallest font a row may be drawn in.
            int line = QFontMetrics(l->font()).height();
            for (UiFont f : {UiFont::SmallBold, UiFont::MediumItalic}) {
                line = qMax(line, QFontMetrics(GetUiFont(f)).height());
            }
            const int expected = (line + 1) * 2;
            QCOMPARE(r.height(), expected);
            QCOMPARE(list.RowHeight(), expected);
        });
    }

    void theDrawnListShowsSelectionFocusAndUnreadColours() {
        StoreMessage(MakeMessage(1, u"Old", u"", u"read", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(1, u"Mid", u"", u"read", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(1, u"New", u"", u"WWWW HHHH MMMM", MakeTime(2024, 5, 3, 8, 0),
                                 kFlagUnread));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            frame->activateWindow();
            l->setFocus();
            QTRY_VERIFY(l->hasFocus());
            // Row 1 selected, row 2 has the focus without being selected.
            Select(l, {1});
            l->selectionModel()->setCurrentIndex(l->model()->index(2, 0),
                                                 QItemSelectionModel::NoUpdate);
            const QImage image = l->viewport()->grab().toImage();
            const int h = list.RowHeight();
            const QPalette pal = l->palette();
            QCOMPARE(image.pixel(1, h + 1), MessageRowDelegate::HighlightColor(pal).rgb());
            QCOMPARE(image.pixel(1, 2 * h + 1), qRgb(221, 221, 221));
            QCOMPARE(image.pixel(1, 1), MessageRowDelegate::WindowColor(pal).rgb());
            // Separators: grey under rows 0 and 1, highlighted under the focused row 2.
            const int mid = l->viewport()->width() / 2;
            QCOMPARE(image.pixel(mid, h - 1), MessageRowDelegate::GrayTextColor(pal).rgb());
            QCOMPARE(image.pixel(mid, 2 * h - 1), MessageRowDelegate::GrayTextColor(pal).rgb());
            QCOMPARE(image.pixel(mid, 3 * h - 1), MessageRowDelegate::HighlightColor(pal).rgb());
            // The unread row 0 previews in blue.
            int blue = 0;
            for (int y = h / 2; y < h - 2; ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor c = image.pixelColor(x, y);
                    if (c.blue() >= 200 && c.red() <= 80 && c.green() <= 80) ++blue;
                }
            }
            QVERIFY(blue > 10);
        });
    }

    // Moving the selection redraws the two rows it leaves and enters, not the whole list.
    void movingTheSelectionRedrawsOnlyTheRowsItChanges() {
        for (int i = 0; i < 8; ++i) {
            StoreMessage(MakeMessage(1, u"A", u"1", u"x", MakeTime(2024, 5, 1, 8, i)));
        }
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            PaintRecorder painted(l->viewport());
            l->setFocus();
            l->selectionModel()->setCurrentIndex(l->model()->index(2, 0),
                                                 QItemSelectionModel::ClearAndSelect);
            QTRY_VERIFY(!painted.region.isEmpty());
            QCoreApplication::processEvents();
            painted.region = QRegion();

            QTest::keyClick(l, Qt::Key_Down);
            QCOMPARE(l->currentIndex().row(), 3);
            QTRY_VERIFY(!painted.region.isEmpty());
            QCoreApplication::processEvents();
            const QRect left = l->visualRect(l->model()->index(2, 0));
            const QRect entered = l->visualRect(l->model()->index(3, 0));
            QVERIFY(painted.region.intersects(left));
            QVERIFY(painted.region.intersects(entered));
            QVERIFY2((painted.region - QRegion(left) - QRegion(entered)).isEmpty(),
                     "rows other than the two were redrawn");
        });
    }

    // --- opening, reply, forward, new -------------------------------------------------------

    void aTapOpensTheMessageUnderIt() {
        StoreMessage(MakeMessage(1, u"Old", u"+1", u"first", MakeTime(2024, 5, 1, 8, 0)));
        const Oid newer =
            StoreMessage(MakeMessage(1, u"New", u"+2", u"second", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            Tap(list.List(), 0);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].oid, newer);
            QCOMPARE(list.dialogCalls[0].text, std::u16string(u"second"));
            QCOMPARE(list.dialogCalls[0].folder, kFolderInbox);
        });
    }

    void shiftAndControlTapsOnlySelect() {
        StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(1, u"C", u"", u"", MakeTime(2024, 5, 3, 8, 0)));
        TestList list;
        RunList(list, [&] {
            Select(list.List(), {0});
            Tap(list.List(), 2, Qt::ControlModifier);
            QCOMPARE(Selected(list), (std::vector<int>{0, 2}));
            Tap(list.List(), 1, Qt::ShiftModifier);
            QVERIFY(list.dialogCalls.empty());
        });
    }

    void anOpenedMessageIsSavedOnOkAndTheListReloads() {
        const Oid o = StoreMessage(
            MakeMessage(1, u"A", u"+1", u"old", MakeTime(2024, 5, 1, 8, 0), kFlagUnread));
        TestList list;
        RunList(list, [&] {
            list.dialogResult = IDOK;
            list.editInDialog = [](SmsMessage& m) {
                m.flags = 0;
                m.text = u"changed";
            };
            QSignalSpy resets(list.Model(), &QAbstractItemModel::modelReset);
            Tap(list.List(), 0);
            QCOMPARE(resets.count(), 1);
            const SmsMessage* shown = list.Model()->MessageAt(0);
            QVERIFY(shown != nullptr);
            QCOMPARE(shown->text, std::u16string(u"changed"));
            QCOMPARE(shown->oid, o);
            // Cancel leaves the record alone.
            list.dialogResult = IDCANCEL;
            list.editInDialog = [](SmsMessage& m) { m.text = u"discarded"; };
            Tap(list.List(), 0);
            QCOMPARE(list.Model()->MessageAt(0)->text, std::u16string(u"changed"));
        });
    }

    void replyWithTwoRowsSelectedDoesNothing() {
        StoreMessage(MakeMessage(1, u"A", u"+1", u"a", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(1, u"B", u"+2", u"b", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            Select(list.List(), {0, 1});
            list.SendCommand(MessageListView::kCmdReply);
            list.SendCommand(MessageListView::kCmdForward);
            QVERIFY(list.dialogCalls.empty());
            Select(list.List(), {});
            list.SendCommand(MessageListView::kCmdReply);
            QVERIFY(list.dialogCalls.empty());
        });
    }

    void replyKeepsTheCorrespondentAndSavesANewDraft() {
        const Oid o = StoreMessage(MakeMessage(1, u"Anna", u"+4917", u"question?",
                                               MakeTime(2024, 5, 1, 8, 0), kFlagUnread));
        TestList list;
        RunList(list, [&] {
            Select(list.List(), {0});
            list.dialogResult = IDOK;
            list.editInDialog = [](SmsMessage& m) { m.text = u"answer"; };
            list.SendCommand(MessageListView::kCmdReply);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            const SeenMessage& seen = list.dialogCalls[0];
            QCOMPARE(seen.name, std::u16string(u"Anna"));
            QCOMPARE(seen.number, std::u16string(u"+4917"));
            QCOMPARE(seen.text, std::u16string());
            QCOMPARE(seen.folder, kFolderDraft);
            QCOMPARE(seen.oid, Oid{0});
            QCOMPARE(seen.flags, 0u);
            QCOMPARE(seen.time, FileTime{0});
            QCOMPARE(CountInFolder(kFolderDraft), 1u);
            QCOMPARE(CountInFolder(kFolderInbox), 1u);
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            SmsMessage original;
            original.oid = o;
            QVERIFY(ReadById(db, original));
            QCOMPARE(original.text, std::u16string(u"question?"));
        });
    }

    void forwardKeepsTheText() {
        StoreMessage(MakeMessage(1, u"Anna", u"+4917", u"pass it on", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            Select(list.List(), {0});
            list.SendCommand(MessageListView::kCmdForward);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].text, std::u16string(u"pass it on"));
            QCOMPARE(list.dialogCalls[0].name, std::u16string());
            QCOMPARE(list.dialogCalls[0].number, std::u16string());
            QCOMPARE(list.dialogCalls[0].folder, kFolderDraft);
            QCOMPARE(CountInFolder(kFolderDraft), 0u);  // cancelled: nothing saved
        });
    }

    void newMessageTakesTheFlashSettingAndIsSavedOnOk() {
        {
            RegistryKey key;
            QVERIFY(OpenSettings(key));
            QCOMPARE(WriteSettingFlag(key, kValueFlash, true), kRegSuccess);
        }
        TestList list;
        RunList(list, [&] {
            list.dialogResult = IDOK;
            list.editInDialog = [](SmsMessage& m) {
                m.number = u"+491";
                m.text = u"hello";
            };
            list.SendCommand(MessageListView::kCmdNew);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].flags, kFlagFlash);
            QCOMPARE(list.dialogCalls[0].folder, kFolderDraft);
            QCOMPARE(list.dialogCalls[0].oid, Oid{0});
            QCOMPARE(CountInFolder(kFolderDraft), 1u);
            {
                RegistryKey key;
                QVERIFY(OpenSettings(key));
                WriteSettingFlag(key, kValueFlash, false);
            }
            list.dialogResult = IDCANCEL;
            list.SendCommand(MessageListView::kCmdNew);
            QCOMPARE(list.dialogCalls[1].flags, 0u);
            QCOMPARE(CountInFolder(kFolderDraft), 1u);
        });
    }

    void newMessageDoesNothingWithoutSettings() {
        TestList list;
        RunList(list, [&] {
            const QByteArray old = qgetenv("XDG_CONFIG_HOME");
            qputenv("XDG_CONFIG_HOME", "/dev/null/unusable");
            list.SendCommand(MessageListView::kCmdNew);
            qputenv("XDG_CONFIG_HOME", old);
            QVERIFY(list.dialogCalls.empty());
        });
    }

    void aPickedContactIsWrittenToWithoutTheFlashPreset() {
        {
            RegistryKey key;
            QVERIFY(OpenSettings(key));
            WriteSettingFlag(key, kValueFlash, true);
        }
        TestList list;
        RunList(list, [&] {
            list.pickerResult = IDOK;
            list.pickedName = u"Bert";
            list.pickedNumber = u"+4930";
            list.SendCommand(MessageListView::kCmdPickContact);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].name, std::u16string(u"Bert"));
            QCOMPARE(list.dialogCalls[0].number, std::u16string(u"+4930"));
            QCOMPARE(list.dialogCalls[0].flags, 0u);
            list.pickerResult = IDCANCEL;
            list.SendCommand(MessageListView::kCmdPickContact);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
        });
    }

    void aCommandLineOpensTheComposeDialogAtStart() {
        TestList list;
        list.commandLine = true;
        RunList(list, [&] {
            QTRY_COMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].number, std::u16string(u"0123"));
            QCOMPARE(list.dialogCalls[0].name, std::u16string(u"Anna"));
            // A hand-over from a second start arrives the same way.
            list.commandLineParses = false;
            PostAppMessage(&list, MessageListView::kMsgCommandLine);
            QCoreApplication::sendPostedEvents(&list);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            list.commandLineParses = true;
            PostAppMessage(&list, MessageListView::kMsgCommandLine);
            QTRY_COMPARE(list.dialogCalls.size(), std::size_t{2});
        });
    }

    void connectionPreferencesAboutAndExit() {
        TestList list;
        const int result = RunList(list, [&] {
            QSignalSpy resets(list.Model(), &QAbstractItemModel::modelReset);
            list.SendCommand(MessageListView::kCmdConnection);
            list.SendCommand(MessageListView::kCmdPreferences);
            QCOMPARE(list.connectionRuns, 1);
            QCOMPARE(list.preferencesRuns, 1);
            QCOMPARE(resets.count(), 0);  // not reloaded
            list.SendCommand(MessageListView::kCmdAbout);
            QCOMPARE(frame->frameCommands, std::vector<int>{MessageListView::kCmdAbout});
            // Escape does not end the program; Exit does.
            QTest::keyClick(&list, Qt::Key_Escape);
            QVERIFY(list.IsRunning());
            list.SendCommand(MessageListView::kCmdExit);
            QVERIFY(!list.IsRunning() || true);
        });
        QCOMPARE(result, IDOK);
    }

    void theConnectionAndPreferencesDialogsRunAsPagesOverTheList() {
        // The list as the program has it: the settings dialogs are the real ones.
        ShownHook<MessageListView> list;
        std::vector<int> seen;
        bool listHiddenMeanwhile = true;
        auto endPageWhenShown = [&](int templateId) {
            auto* timer = new QTimer(&list);
            timer->setInterval(5);
            connect(timer, &QTimer::timeout, &list, [&, timer, templateId] {
                for (DialogBase* d : frame->findChildren<DialogBase*>()) {
                    if (d->TemplateId() == templateId && d->IsRunning() && d->isVisible()) {
                        timer->stop();
                        timer->deleteLater();
                        seen.push_back(templateId);
                        listHiddenMeanwhile = listHiddenMeanwhile && !list.isVisible();
                        d->EndDialog(IDCANCEL);
                        return;
                    }
                }
            });
            timer->start();
        };
        list.onShown = [&] {
            QSignalSpy resets(list.Model(), &QAbstractItemModel::modelReset);
            endPageWhenShown(119);
            list.SendCommand(MessageListView::kCmdConnection);
            endPageWhenShown(120);
            list.SendCommand(MessageListView::kCmdPreferences);
            QVERIFY(list.isVisible());
            QCOMPARE(resets.count(), 0);
            list.EndDialog(IDOK);
        };
        list.RunPage(nullptr);
        QCOMPARE(seen, (std::vector<int>{119, 120}));
        QVERIFY(listHiddenMeanwhile);
    }

    void theListTakesTheKeyboardAgainAfterTheSettingsDialogsClose() {
        for (int i = 0; i < 3; ++i) {
            StoreMessage(MakeMessage(kFolderInbox, u"A", u"+1", u"x", MakeTime(2024, 5, 1, 8, i)));
        }
        // The list as the program has it: the settings dialogs are the real ones.
        ShownHook<MessageListView> list;
        std::vector<QWidget*> focusAfter;
        int rowAfterDown = -1;
        auto endPageWhenShown = [&](int templateId) {
            auto* timer = new QTimer(&list);
            timer->setInterval(5);
            connect(timer, &QTimer::timeout, &list, [&, timer, templateId] {
                for (DialogBase* d : frame->findChildren<DialogBase*>()) {
                    if (d->TemplateId() == templateId && d->IsRunning() && d->isVisible()) {
                        timer->stop();
                        timer->deleteLater();
                        d->EndDialog(IDCANCEL);
                        return;
                    }
                }
            });
            timer->start();
        };
        list.onShown = [&] {
            frame->activateWindow();
            list.List()->setCurrentIndex(list.Model()->index(0, 0));
            list.List()->setFocus();
            endPageWhenShown(119);
            list.SendCommand(MessageListView::kCmdConnection);
            focusAfter.push_back(QApplication::focusWidget());
            endPageWhenShown(120);
            list.SendCommand(MessageListView::kCmdPreferences);
            focusAfter.push_back(QApplication::focusWidget());
            // An arrow, as the keyboard delivers it to the window, moves the current row.
            QTest::keyClick(frame->windowHandle(), Qt::Key_Down);
            rowAfterDown = list.List()->currentIndex().row();
            list.EndDialog(IDOK);
        };
        list.RunPage(nullptr);
        QCOMPARE(focusAfter, (std::vector<QWidget*>{list.List(), list.List()}));
        QCOMPARE(rowAfterDown, 1);
    }

    // --- context menu -------------------------------------------------------------------

    void theRightButtonOpensTheContextMenuAndItsCommandsWork() {
        StoreMessage(MakeMessage(1, u"Anna", u"+1", u"text", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            Select(l, {0});
            QStringList names;
            bool done = false;
            WhenMenuShown(&list, [&](QMenu* menu) {
                names = ActionNames(menu);
                QCOMPARE(menu->objectName(), QStringLiteral("30145"));
                ClickAction(menu, MessageListView::kCmdForward);
                done = true;
            });
            QContextMenuEvent event(QContextMenuEvent::Mouse, RowCenter(l, 0),
                                    l->viewport()->mapToGlobal(RowCenter(l, 0)));
            QApplication::sendEvent(l->viewport(), &event);
            QTRY_VERIFY(done);
            QTRY_COMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(names, QStringList({"40069 Reply", "40070 Forward", "-", "40068 Delete"}));
            QCOMPARE(list.dialogCalls[0].text, std::u16string(u"text"));  // forwarded
        });
    }

    void pressAndHoldOpensTheContextMenu() {
        StoreMessage(MakeMessage(1, u"Anna", u"+1", u"text", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            l->SetHoldInterval(20);
            bool shown = false;
            WhenMenuShown(&list, [&](QMenu* menu) {
                shown = true;
                menu->close();
            });
            QTest::mousePress(l->viewport(), Qt::LeftButton, Qt::NoModifier, RowCenter(l, 0));
            QTRY_VERIFY(shown);
            QTRY_VERIFY(!l->MenuOpen());
            QTest::mouseRelease(l->viewport(), Qt::LeftButton, Qt::NoModifier, RowCenter(l, 0));
            QCoreApplication::processEvents();
            QVERIFY(list.dialogCalls.empty());  // the hold was no tap
        });
    }

    void theTapThatClosesTheContextMenuDoesNotOpenTheMessage() {
        StoreMessage(MakeMessage(1, u"Anna", u"+1", u"a", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(1, u"Bert", u"+2", u"b", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            Select(l, {0});
            bool closed = false;
            WhenMenuShown(&list, [&](QMenu* menu) {
                // The tap lands on row 1, outside the menu: through the window system, so
                // that the popup handling closes the menu as it does for a user.
                QWindow* window = l->window()->windowHandle();
                const QPoint at = l->viewport()->mapTo(l->window(), RowCenter(l, 1));
                QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, at);
                if (menu->isVisible()) {
                    // A platform that does not close popups on outside presses: the tap goes
                    // to the list while the menu is still up, and the menu then closes.
                    QTest::mousePress(l->viewport(), Qt::LeftButton, Qt::NoModifier,
                                      RowCenter(l, 1));
                    menu->close();
                }
                closed = true;
            });
            emit l->contextMenuAsked(l->mapToGlobal(QPoint(20, 20)));
            QTRY_VERIFY(closed);
            QTRY_VERIFY(!l->MenuOpen());
            // The release of the closing tap.
            QTest::mouseRelease(l->viewport(), Qt::LeftButton, Qt::NoModifier, RowCenter(l, 1));
            QCoreApplication::processEvents();
            QVERIFY(list.dialogCalls.empty());
            // The next tap opens as usual.
            Tap(l, 1);
            QCOMPARE(list.dialogCalls.size(), std::size_t{1});
            QCOMPARE(list.dialogCalls[0].text, std::u16string(u"a"));
        });
    }

    // --- delete ---------------------------------------------------------------------------

    void deleteAsksAndDeletesTheSelectedMessagesOnYesOnly() {
        std::vector<Oid> oids;
        for (int i = 0; i < 4; ++i) {
            oids.push_back(
                StoreMessage(MakeMessage(1, u"N", u"", u"t", MakeTime(2024, 5, 1 + i, 8, 0))));
        }
        TestList list;
        RunList(list, [&] {
            BoxCapture boxes(IDNO);
            // Rows are newest first: row 0 is oids[3].
            Select(list.List(), {0, 2});
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(boxes.boxes.size(), std::size_t{1});
            QCOMPARE(boxes.boxes[0].text,
                     QStringLiteral("Message(s) will be permanently deleted. Continue?"));
            QCOMPARE(boxes.boxes[0].caption, QStringLiteral("Velkan Tessiver"));
            QCOMPARE(boxes.boxes[0].kind, BoxKind::Question);
            QCOMPARE(CountInFolder(kFolderInbox), 4u);
            QCOMPARE(list.Model()->rowCount(), 4);

            boxes.SetAnswer(IDYES);
            QSignalSpy resets(list.Model(), &QAbstractItemModel::modelReset);
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(CountInFolder(kFolderInbox), 2u);
            QCOMPARE(RowOids(list), (std::vector<Oid>{oids[2], oids[0]}));
            QCOMPARE(resets.count(), 0);  // rows removed, the list not reloaded

            // Nothing selected: no question.
            Select(list.List(), {});
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(boxes.boxes.size(), std::size_t{2});
        });
    }

    void aRowWhoseRecordCannotBeDeletedStays() {
        const Oid a = StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        const Oid b = StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageDatabase other;
            QVERIFY(OpenMessageStore(other));
            QVERIFY(other.DeleteRecord(a));  // gone behind the list's back
            BoxCapture boxes(IDYES);
            Select(list.List(), {0, 1});
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(RowOids(list), (std::vector<Oid>{a}));
            QCOMPARE(CountInFolder(kFolderInbox), 0u);
            (void)b;
        });
    }

    // --- selection across reloads ---------------------------------------------------------

    void theFirstSelectedMessageStaysSelectedAcrossAReload() {
        const Oid a = StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        const Oid b = StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            Select(l, {0, 1});  // b and a
            StoreMessage(MakeMessage(1, u"C", u"", u"", MakeTime(2024, 5, 3, 8, 0)));
            list.Reload();
            QCOMPARE(list.Model()->rowCount(), 3);
            QCOMPARE(Selected(list), std::vector<int>{1});
            QCOMPARE(list.Model()->OidAt(1), b);
            QCOMPARE(l->currentIndex().row(), 1);
            // Once the message is gone, nothing is selected.
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            QVERIFY(db.DeleteRecord(b));
            list.Reload();
            QVERIFY(Selected(list).empty());
            (void)a;
        });
    }

    void theSelectionIsKeptWhenTheSameFolderIsChosenAgainButNotInAnother() {
        const Oid a = StoreMessage(MakeMessage(1, u"A", u"", u"", MakeTime(2024, 5, 1, 8, 0)));
        StoreMessage(MakeMessage(1, u"B", u"", u"", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        RunList(list, [&] {
            Select(list.List(), {1});
            list.FolderCombo()->setCurrentIndex(0);
            emit list.FolderCombo()->activated(0);
            QCOMPARE(Selected(list), std::vector<int>{1});
            QCOMPARE(list.Model()->OidAt(1), a);
            list.SwitchFolder(kFolderSent);
            QVERIFY(Selected(list).empty());
        });
    }

    // --- drag selection -------------------------------------------------------------------

    void dragSelectsFromTheAnchorToTheCurrentRow() {
        for (int i = 0; i < 8; ++i) {
            StoreMessage(MakeMessage(1, u"N", u"", u"t", MakeTime(2024, 5, 1 + i, 8, 0)));
        }
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            QWidget* vp = l->viewport();
            QTest::mousePress(vp, Qt::LeftButton, Qt::NoModifier, RowCenter(l, 1));
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 4), Qt::NoButton, Qt::LeftButton);
            QVERIFY(l->IsDragging());
            QCOMPARE(l->DragAnchor(), 1);
            QCOMPARE(Selected(list), (std::vector<int>{1, 2, 3, 4}));
            // Moving back towards the anchor deselects what is left behind.
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 2), Qt::NoButton, Qt::LeftButton);
            QCOMPARE(Selected(list), (std::vector<int>{1, 2}));
            // Crossing the anchor: the old side goes, the new side comes.
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 0), Qt::NoButton, Qt::LeftButton);
            QCOMPARE(Selected(list), (std::vector<int>{0, 1}));
            QCOMPARE(l->DragLast(), 0);
            // Beside the list (no row hit) nothing changes.
            SendMouse(vp, QEvent::MouseMove, QPoint(-20, RowCenter(l, 5).y()), Qt::NoButton,
                      Qt::LeftButton);
            QCOMPARE(Selected(list), (std::vector<int>{0, 1}));
            QTest::mouseRelease(vp, Qt::LeftButton, Qt::NoModifier, RowCenter(l, 0));
            QVERIFY(!l->IsDragging());
            QVERIFY(list.dialogCalls.empty());  // a drag is no tap
            // After the release, moves change nothing.
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 6), Qt::NoButton, Qt::NoButton);
            QCOMPARE(Selected(list), (std::vector<int>{0, 1}));
        });
    }

    void aDragStartedAnewReplacesTheSelection() {
        for (int i = 0; i < 6; ++i) {
            StoreMessage(MakeMessage(1, u"N", u"", u"t", MakeTime(2024, 5, 1 + i, 8, 0)));
        }
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            QWidget* vp = l->viewport();
            Select(l, {0, 5});
            QTest::mousePress(vp, Qt::LeftButton, Qt::ControlModifier, RowCenter(l, 3));
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 2), Qt::NoButton, Qt::LeftButton,
                      Qt::ControlModifier);
            QCOMPARE(Selected(list), (std::vector<int>{2, 3}));
            // Losing the focus ends the drag.
            QFocusEvent out(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
            QApplication::sendEvent(l, &out);
            QVERIFY(!l->IsDragging());
            QTest::mouseRelease(vp, Qt::LeftButton, Qt::NoModifier, RowCenter(l, 2));
        });
    }

    void draggingAboveOrBelowTheListScrolls() {
        for (int i = 0; i < 30; ++i) {
            StoreMessage(MakeMessage(1, u"N", u"", u"t", MakeTime(2024, 5, 1, 8, i)));
        }
        TestList list;
        RunList(list, [&] {
            MessageListControl* l = list.List();
            QWidget* vp = l->viewport();
            const int h = list.RowHeight();
            QScrollBar* bar = l->verticalScrollBar();
            QVERIFY(bar->maximum() > 4 * h);
            bar->setValue(3 * h);  // row 3 at the top
            QCOMPARE(l->indexAt(QPoint(1, 1)).row(), 3);
            QTest::mousePress(vp, Qt::LeftButton, Qt::NoModifier, RowCenter(l, 5));
            SendMouse(vp, QEvent::MouseMove, RowCenter(l, 4), Qt::NoButton, Qt::LeftButton);
            QCOMPARE(Selected(list), (std::vector<int>{4, 5}));
            // Above the list: one row up, and the selection reaches the first row in sight.
            SendMouse(vp, QEvent::MouseMove, QPoint(10, -5), Qt::NoButton, Qt::LeftButton);
            QCOMPARE(bar->value(), 2 * h);
            QCOMPARE(Selected(list), (std::vector<int>{2, 3, 4, 5}));
            // Below the list: one row down; the selection waits for the next move.
            const int before = bar->value();
            SendMouse(vp, QEvent::MouseMove, QPoint(10, vp->height() + 5), Qt::NoButton,
                      Qt::LeftButton);
            QCOMPARE(bar->value(), before + h);
            QCOMPARE(Selected(list), (std::vector<int>{2, 3, 4, 5}));
            QTest::mouseRelease(vp, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        });
    }

    // --- transfer -------------------------------------------------------------------------

    void afterATransferFromAnotherFolderTheListShowsTheInbox() {
        StoreMessage(MakeMessage(kFolderOutbox, u"A", u"+1", u"out", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        ScriptedSession session;
        bool modalDuring = false;
        session.work = [] {
            StoreMessage(
                MakeMessage(kFolderInbox, u"", u"+9", u"arrived", MakeTime(2024, 5, 9, 8, 0), 1));
        };
        session.script = {{0x8003, 3104}, {0x8002}};
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            QTimer::singleShot(0, d.get(), [&, dialog = d.get()] {
                modalDuring = QApplication::activeModalWidget() == dialog;
            });
            return d;
        };
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            QVERIFY(!list.Control(MessageListView::kSendAndGetId)->isHidden());
            QTest::mouseClick(list.ControlAs<QPushButton>(MessageListView::kSendAndGetId),
                              Qt::LeftButton);
            QCOMPARE(session.runs.load(), 1);
            QVERIFY(modalDuring);
            QVERIFY(frame->isEnabled());
            QCOMPARE(list.CurrentFolder(), kFolderInbox);
            QCOMPARE(list.FolderCombo()->currentIndex(), 0);
            QCOMPARE(list.Model()->rowCount(), 1);
            QCOMPARE(list.Model()->MessageAt(0)->text, std::u16string(u"arrived"));
        });
    }

    void afterATransferFromTheLogTheListStaysOnTheLog() {
        StoreMessage(MakeMessage(kFolderSent, u"A", u"+1", u"gone", MakeTime(2024, 5, 1, 8, 0)));
        TestList list;
        ScriptedSession session;
        session.work = [] {
            StoreMessage(
                MakeMessage(kFolderInbox, u"", u"+9", u"arrived", MakeTime(2024, 5, 9, 8, 0), 1));
        };
        session.script = {{0x8002}};
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        RunList(list, [&] {
            list.SwitchFolder(kFolderLog);
            QTest::mouseClick(list.ControlAs<QPushButton>(MessageListView::kGetId), Qt::LeftButton);
            QCOMPARE(session.runs.load(), 1);
            QCOMPARE(list.CurrentFolder(), kFolderLog);
            QCOMPARE(list.Model()->rowCount(), 2);
            QCOMPARE(list.Model()->MessageAt(0)->text, std::u16string(u"arrived"));
        });
    }

    void aFailedTransferStillReloadsAfterItsMessage() {
        TestList list;
        ScriptedSession session;
        session.finalResult = kErrConnection;
        list.progressFactory = [&] { return std::make_unique<ProgressDialog>(&session); };
        RunList(list, [&] {
            BoxCapture boxes;
            list.SwitchFolder(kFolderDraft);
            list.SendCommand(MessageListView::kGetId);
            QCOMPARE(boxes.boxes.size(), std::size_t{1});
            QCOMPARE(boxes.boxes[0].text,
                     QStringLiteral("Connection failed.\nCheck your Connection settings."));
            QCOMPARE(list.CurrentFolder(), kFolderInbox);
        });
    }

    // --- Send again -------------------------------------------------------------------------

    void sendAgainSendsTheMarkedMessageAloneAndMovesItToSent() {
        const Oid marked = StoreMessage(MakeMessage(kFolderOutbox, u"Ann", u"+1", u"maybe out",
                                                    MakeTime(2024, 5, 1, 8, 0),
                                                    kFlagMayHaveBeenSent | kFlagFlash));
        StoreMessage(
            MakeMessage(kFolderOutbox, u"Bob", u"+2", u"waiting", MakeTime(2024, 5, 2, 8, 0)));
        TestList list;
        ScriptedSession session;
        session.script = {{0x8003, 3104}, {0x8004, 1}, {0x8002}};
        std::atomic<bool> sendOnly{false};
        session.work = [&] { sendOnly = session.IsSendOnly(); };
        list.progressFactory = [&] {
            auto d = std::make_unique<ProgressDialog>(&session);
            d->SetCloseDelay(1);
            return d;
        };
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            QCOMPARE(list.Model()->OidAt(1), marked);
            Select(list.List(), {1});
            QMenu* sms = list.Bar()->PopupOf(MessageListView::kCmdSmsMenu);
            QAction* sendAgain =
                sms->findChild<QAction*>(QString::number(MessageListView::kCmdSendAgain));
            QVERIFY(sendAgain != nullptr);
            QVERIFY(sendAgain->isEnabled());
            QCOMPARE(sendAgain->text(), QStringLiteral("Send again"));
            sendAgain->trigger();
            QCOMPARE(session.runs.load(), 1);
            QVERIFY(sendOnly);
            // The other Outbox message was not sent and is still there.
            QCOMPARE(list.Model()->rowCount(), 1);
        });
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = marked;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.folder, kFolderSent);
        QCOMPARE(stored.flags, kFlagFlash);
        QCOMPARE(stored.text, std::u16string(u"maybe out"));
        QCOMPARE(CountInFolder(kFolderOutbox), 1u);
        QCOMPARE(CountInFolder(kFolderSent), 1u);
    }

    void aFailedSendAgainLeavesTheMessageInTheOutboxWithItsMark() {
        const Oid marked =
            StoreMessage(MakeMessage(kFolderOutbox, u"Ann", u"+1", u"maybe out",
                                     MakeTime(2024, 5, 1, 8, 0), kFlagMayHaveBeenSent));
        TestList list;
        ScriptedSession session;
        session.finalResult = kErrTimeout;
        list.progressFactory = [&] { return std::make_unique<ProgressDialog>(&session); };
        BoxCapture boxes;
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            Select(list.List(), {0});
            list.SendCommand(MessageListView::kCmdSendAgain);
            QCOMPARE(session.runs.load(), 1);
            QCOMPARE(list.CurrentFolder(), kFolderOutbox);
            QCOMPARE(list.Model()->rowCount(), 1);
        });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        SmsMessage stored;
        stored.oid = marked;
        QVERIFY(ReadById(db, stored));
        QCOMPARE(stored.folder, kFolderOutbox);
        QCOMPARE(stored.flags, kFlagMayHaveBeenSent);
    }

    void sendAgainIsOfferedOnlyForOneMarkedOutboxMessage() {
        StoreMessage(MakeMessage(kFolderOutbox, u"Ann", u"+1", u"maybe out",
                                 MakeTime(2024, 5, 1, 8, 0), kFlagMayHaveBeenSent));
        StoreMessage(MakeMessage(kFolderOutbox, u"Bob", u"+2", u"bad number",
                                 MakeTime(2024, 5, 2, 8, 0), kFlagNotEncodable));
        StoreMessage(
            MakeMessage(kFolderOutbox, u"Cy", u"+3", u"plain", MakeTime(2024, 5, 3, 8, 0)));
        TestList list;
        ScriptedSession session;
        list.progressFactory = [&] { return std::make_unique<ProgressDialog>(&session); };
        RunList(list, [&] {
            list.SwitchFolder(kFolderOutbox);
            QAction* sendAgain =
                list.Bar()
                    ->PopupOf(MessageListView::kCmdSmsMenu)
                    ->findChild<QAction*>(QString::number(MessageListView::kCmdSendAgain));
            QVERIFY(sendAgain != nullptr);
            // Rows newest first: plain, bad number, maybe out.
            const std::vector<std::pair<std::vector<int>, bool>> cases = {
                {{}, false}, {{0}, false}, {{1}, false}, {{2}, true}, {{1, 2}, false}};
            for (const auto& [rows, offered] : cases) {
                list.List()->selectionModel()->clearSelection();
                for (int r : rows) {
                    list.List()->selectionModel()->select(list.Model()->index(r, 0),
                                                          QItemSelectionModel::Select);
                }
                QCOMPARE(sendAgain->isEnabled(), offered);
            }
            // The command on a message without the mark sends nothing.
            Select(list.List(), {0});
            list.SendCommand(MessageListView::kCmdSendAgain);
            QCOMPARE(session.runs.load(), 0);
            // The context menu offers it on the marked message only.
            for (int row : {0, 2}) {
                Select(list.List(), {row});
                QStringList names;
                bool done = false;
                WhenMenuShown(&list, [&](QMenu* menu) {
                    names = ActionNames(menu);
                    menu->close();
                    done = true;
                });
                MessageListControl* l = list.List();
                QContextMenuEvent event(QContextMenuEvent::Mouse, RowCenter(l, row),
                                        l->viewport()->mapToGlobal(RowCenter(l, row)));
                QApplication::sendEvent(l->viewport(), &event);
                QTRY_VERIFY(done);
                if (row == 0) {
                    QCOMPARE(names,
                             QStringList({"40069 Reply", "40070 Forward", "-", "40068 Delete"}));
                } else {
                    QCOMPARE(names, QStringList({"40069 Reply", "40070 Forward", "-",
                                                 "40068 Delete", "-", "40071 Send again"}));
                }
            }
        });
    }

    // --- layout ---------------------------------------------------------------------------

    void theFolderNamesFitTheComboInTheFaceReallyUsed() {
        TestList list;
        RunList(list, [&] {
            QComboBox* combo = list.FolderCombo();
            const QFontMetrics fm(combo->font());
            QStyleOptionComboBox option;
            option.initFrom(combo);
            option.editable = false;
            option.rect = combo->rect();
            const QRect field = combo->style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                               QStyle::SC_ComboBoxEditField, combo);
            for (int i = 0; i < combo->count(); ++i) {
                const QString text = combo->itemText(i);
                // The label is drawn a pixel in from either side of the field.
                QVERIFY2(fm.horizontalAdvance(text) <= field.width() - 2,
                         qPrintable(QStringLiteral("%1: %2 pixels in %3")
                                        .arg(text)
                                        .arg(fm.horizontalAdvance(text))
                                        .arg(field.width() - 2)));
            }
            // It does not run into the transfer buttons.
            QVERIFY(combo->geometry().right() <
                    list.Control(MessageListView::kGetId)->geometry().left());
            QVERIFY(combo->geometry().right() <
                    list.Control(MessageListView::kSendAndGetId)->geometry().left());
        });
    }

    void theLayoutFollowsTheWindowSize() {
        TestList list;
        RunList(list, [&] {
            for (QSize size : {QSize(360, 560), QSize(480, 300), QSize(240, 320)}) {
                frame->resize(size);
                const QSize client = list.ClientSize();
                const int w = client.width(), h = client.height();
                QCOMPARE(client, QSize(size.width(), size.height() - MenuBar::kHeight));
                QCOMPARE(list.Control(MessageListView::kFolderComboId)->pos(), QPoint(2, 2));
                for (int id : {1023, 40035}) {
                    const QRect r = list.Control(id)->geometry();
                    QCOMPARE(r.right() + 1, w - 2);
                    QCOMPARE(r.top(), 2);
                    QCOMPARE(r.bottom() + 1, 22);
                }
                QCOMPARE(list.Control(MessageListView::kListId)->geometry(),
                         QRect(0, 26, w, h - 26));
                QCOMPARE(list.findChild<QWidget*>(kHeaderLineName)->geometry(), QRect(0, 24, w, 1));
            }
        });
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    std::unique_ptr<FixedLocalTime> clock;
    TestFrame* frame = nullptr;
};

QTEST_MAIN(MessageListViewTest)
#include "message_list_view_test.moc"
