// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/dialog_base.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include "framework/ui/app_event.h"
#include "framework/ui/menu_bar.h"
#include "framework/ui/message_box.h"
#include "framework/ui/ui_fonts.h"
#include "framework/ui/window_text.h"

namespace {

class TestFrame : public FrameWindowBase {
  public:
    // The frame handles "Reply" (40069) and records it.
    TestFrame() {
        AddCommand(40069, [this] { frameCommands.push_back(40069); });
    }
    std::vector<int> frameCommands;
};

class TestPage : public DialogBase {
  public:
    // The page handles "New" (a button of its menu bar) and "Delete" (an item) itself.
    explicit TestPage(int templateId = 109) : DialogBase(templateId) {
        AddCommand(40044, [this] { ++news; });
        AddCommand(40068, [this] { ++deletes; });
    }
    int news = 0, deletes = 0;
    bool initOk = true;
    int inits = 0, activations = 0, ends = 0, refreshes = 0, lastEnd = -1;
    QSize lastLayout;
    std::vector<std::uint32_t> appMessages;
    std::function<void()> onShown;

    void OnActivate() override {
        ++activations;
        DialogBase::OnActivate();
    }
    void Refresh() override { ++refreshes; }

  protected:
    bool OnInitDialog() override {
        ++inits;
        if (!initOk) return false;
        auto* edit = new QLineEdit(this);
        edit->setObjectName("1039");
        edit->setText("host:4000");
        return true;
    }
    MenuBarDef MenuBarDefinition() const override {
        return {{40044, "New", {}}, {40014, "Sms", {{40068, "Delete"}, {0, {}}, {40069, "Reply"}}}};
    }
    void OnEnd(int result) override {
        ++ends;
        lastEnd = result;
    }
    void Layout(int w, int h) override { lastLayout = QSize(w, h); }
    bool OnAppMessage(std::uint32_t m, std::uintptr_t, std::intptr_t) override {
        appMessages.push_back(m);
        if (m == 0x8001) EndDialog(7);
        return true;
    }
    void showEvent(QShowEvent* e) override {
        DialogBase::showEvent(e);
        if (onShown) {
            auto f = onShown;
            onShown = nullptr;
            QTimer::singleShot(0, this, f);
        }
    }
};

}  // namespace

class DialogBaseTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        frame = new TestFrame;
        frame->resize(360, 600);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
    }

    void pageFillsTheFrameAndReturnsTheResult() {
        TestPage page;
        page.onShown = [&] {
            QCOMPARE(page.geometry(), frame->rect());
            QVERIFY(page.isVisible());
            page.EndDialog(IDOK);
        };
        QCOMPARE(page.RunPage(nullptr), IDOK);
        QCOMPARE(page.inits, 1);
        QCOMPARE(page.activations, 1);
        QCOMPARE(page.ends, 1);
        QCOMPARE(page.lastEnd, IDOK);
        QVERIFY(!page.isVisible());
    }

    void ownerIsHiddenAndDisabledWhileAPageRunsThenRestored() {
        TestPage owner;
        TestPage child(103);
        owner.onShown = [&] {
            child.onShown = [&] {
                QVERIFY(!owner.isVisible());
                QVERIFY(!owner.isEnabled());
                QVERIFY(owner.Bar() == nullptr);  // the owner's menu bar is removed
                child.EndDialog(IDCANCEL);
            };
            QCOMPARE(child.RunPage(&owner), IDCANCEL);
            QVERIFY(owner.isVisible());
            QVERIFY(owner.isEnabled());
            QVERIFY(owner.Bar() != nullptr);  // re-created by the activation
            QCOMPARE(owner.refreshes, 1);
            owner.EndDialog(IDOK);
        };
        QCOMPARE(owner.RunPage(nullptr), IDOK);
        QCOMPARE(owner.activations, 2);
    }

    void aDialogThatCannotBeCreatedReturnsCancelAtOnce() {
        TestPage page;
        page.initOk = false;
        QCOMPARE(page.RunPage(nullptr), IDCANCEL);
        QCOMPARE(page.ends, 0);
        QVERIFY(!page.isVisible());
    }

    void endBeforeTheLoopStillEnds() {
        TestPage page;
        page.EndDialog(IDOK);  // before running: the runner resets the result
        page.onShown = [&] { page.EndDialog(3); };
        QCOMPARE(page.RunPage(nullptr), 3);
    }

    void numberedMessagesArriveAsEventsWithTheirNumbers() {
        TestPage page;
        page.onShown = [&] {
            PostAppMessage(&page, 0x8003, 3104, 0);
            PostAppMessage(&page, 0x8001);
        };
        QCOMPARE(page.RunPage(nullptr), 7);
        QCOMPARE(page.appMessages, (std::vector<std::uint32_t>{0x8003, 0x8001}));
    }

    void menuBarSitsAtTheBottomAndSendsCommands() {
        TestPage page;
        int command = 0;
        page.onShown = [&] {
            MenuBar* bar = page.Bar();
            QVERIFY(bar != nullptr);
            QCOMPARE(bar->geometry().bottom(), page.height() - 1);
            QCOMPARE(page.lastLayout, QSize(page.width(), page.height() - MenuBar::kHeight));
            QMenu* sms = bar->PopupOf(40014);
            QVERIFY(sms != nullptr);
            QCOMPARE(sms->actions().size(), 3);  // Delete, separator, Reply
            QVERIFY(sms->actions()[1]->isSeparator());
            // An unhandled command goes to the frame.
            sms->actions()[2]->trigger();
            command = frame->frameCommands.empty() ? 0 : frame->frameCommands.back();
            page.EndDialog(IDOK);
        };
        page.RunPage(nullptr);
        QCOMPARE(command, 40069);
    }

    void commandsAreActionsNamedByTheirIdentifiers() {
        TestPage page;
        for (int id : {IDOK, IDCANCEL, 40044, 40068}) {
            QAction* command = page.Command(id);
            QVERIFY(command != nullptr);
            QCOMPARE(command->objectName(), QString::number(id));
            QCOMPARE(FindCommand(&page, id), command);
        }
        // Reply is not the page's: it is the frame's.
        QVERIFY(page.Command(40069) == nullptr);
        QVERIFY(frame->Command(40069) != nullptr);
        page.onShown = [&] {
            page.SendCommand(40068);
            QCOMPARE(page.deletes, 1);
            // Nobody handles 40070: nothing happens.
            page.SendCommand(40070);
            QVERIFY(page.IsRunning());
            QVERIFY(frame->frameCommands.empty());
            // Cancel is a command like any other; the default ends the dialog.
            page.Command(IDCANCEL)->trigger();
        };
        QCOMPARE(page.RunPage(nullptr), IDCANCEL);
    }

    void menuEntriesFollowTheirCommands() {
        TestPage page;
        page.onShown = [&] {
            MenuBar* bar = page.Bar();
            QVERIFY(bar != nullptr);
            auto* newButton = bar->EntryButton(40044);
            QVERIFY(newButton != nullptr);
            QAction* deleteItem = bar->PopupOf(40014)->actions()[0];
            QCOMPARE(deleteItem->objectName(), QStringLiteral("40068"));
            newButton->click();
            deleteItem->trigger();
            QCOMPARE(page.news, 1);
            QCOMPARE(page.deletes, 1);
            // A disabled command disables its entries, and they do nothing.
            page.Command(40044)->setEnabled(false);
            page.Command(40068)->setEnabled(false);
            QVERIFY(!newButton->isEnabled());
            QVERIFY(!deleteItem->isEnabled());
            deleteItem->trigger();
            page.SendCommand(40068);
            QCOMPARE(page.deletes, 1);
            page.Command(40068)->setEnabled(true);
            QVERIFY(deleteItem->isEnabled());
            page.EndDialog(IDOK);
        };
        page.RunPage(nullptr);
        // A menu bar made again takes the commands' state as it is.
        page.Command(40044)->setEnabled(false);
        page.OnActivate();
        QVERIFY(!page.Bar()->EntryButton(40044)->isEnabled());
    }

    void pageFollowsTheFrameSize() {
        TestPage page;
        page.onShown = [&] {
            frame->resize(480, 320);
            QCOMPARE(page.size(), QSize(480, 320));
            QCOMPARE(page.lastLayout, QSize(480, 320 - MenuBar::kHeight));
            page.EndDialog(IDOK);
        };
        page.RunPage(nullptr);
    }

    void modalKeepsItsOwnSizeAndLeavesTheOwnerAlone() {
        TestPage owner;
        TestPage modal(117);
        owner.onShown = [&] {
            modal.onShown = [&] {
                QVERIFY(modal.isWindow());
                QVERIFY(owner.isVisible());
                QVERIFY(owner.isEnabled());
                modal.EndDialog(IDOK);
            };
            QCOMPARE(modal.RunModal(&owner), IDOK);
            owner.EndDialog(IDCANCEL);
        };
        owner.RunPage(nullptr);
        QCOMPARE(modal.activations, 0);  // the modal runner does not activate the dialog
    }

    void escapeCancelsAndClosingAModalWindowIsCancel() {
        TestPage page;
        page.onShown = [&] { QTest::keyClick(&page, Qt::Key_Escape); };
        QCOMPARE(page.RunPage(nullptr), IDCANCEL);
        TestPage modal(117);
        modal.onShown = [&] { modal.close(); };
        QCOMPARE(modal.RunModal(nullptr), IDCANCEL);
    }

    void windowTextOfControls() {
        QLineEdit edit("+4930");
        QCOMPARE(std::u16string(GetWindowText(&edit).Text()), u"+4930");
        QLineEdit empty;
        QVERIFY(GetWindowText(&empty).IsShared());
        QComboBox combo;
        combo.addItems({"COM1:", "TCP"});
        combo.setCurrentIndex(1);
        QCOMPARE(std::u16string(GetWindowText(&combo).Text()), u"TCP");
        QLabel label("Velkan");
        QCOMPARE(std::u16string(GetWindowText(&label).Text()), u"Velkan");
        QVERIFY(GetWindowText(nullptr).IsEmpty());
    }

    void messageBoxesUseTheProductNameAndCanBeAnswered() {
        QString caption, text;
        auto previous =
            SetMessageBoxPresenter([&](QWidget*, const QString& c, const QString& t, BoxKind kind) {
                caption = c;
                text = t;
                return kind == BoxKind::Question ? IDYES : IDOK;
            });
        QCOMPARE(ShowMessageBox(nullptr, "Continue?", BoxKind::Question), IDYES);
        QCOMPARE(caption, QString("Velkan Tessiver"));
        QCOMPARE(text, QString("Continue?"));
        QCOMPARE(ShowMessageBox(nullptr, "Failed", BoxKind::Error), IDOK);
        SetMessageBoxPresenter(previous);
    }

    void sharedFontsHaveTheirPixelHeightsAndStyles() {
        CreateUiFonts();
        QCOMPARE(GetUiFont(UiFont::SmallBold).pixelSize(), 13);
        QVERIFY(GetUiFont(UiFont::SmallBold).weight() >= QFont::ExtraBold);
        QCOMPARE(GetUiFont(UiFont::MediumBold).pixelSize(), 15);
        QCOMPARE(GetUiFont(UiFont::MediumItalic).pixelSize(), 15);
        QVERIFY(GetUiFont(UiFont::MediumItalic).italic());
        QVERIFY(!GetUiFont(UiFont::MediumItalic).bold());
        QCOMPARE(GetUiFont(UiFont::LargeBold).pixelSize(), 17);
    }

  private:
    TestFrame* frame = nullptr;
};

QTEST_MAIN(DialogBaseTest)
#include "dialog_base_test.moc"
