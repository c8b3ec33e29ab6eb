// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/main_window.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include "framework/ui/app_event.h"
#include "shell/hand_over.h"
#include "shell/ui/about_page.h"
#include "shell/ui/help.h"

namespace {

constexpr std::uint32_t kSentinel = 0x8100;

// Stands in for the message list: records the numbered messages it receives.
class RecordingList : public DialogBase {
  public:
    RecordingList() : DialogBase(109) {}
    std::vector<std::uint32_t> messages;
    std::vector<std::pair<std::uintptr_t, std::intptr_t>> parameters;
    std::function<void()> onShown;

  protected:
    bool OnAppMessage(std::uint32_t message, std::uintptr_t w, std::intptr_t l) override {
        messages.push_back(message);
        parameters.emplace_back(w, l);
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

// Waits until the list has seen the sentinel posted after everything before it.
void Drain(RecordingList& list) {
    PostAppMessage(&list, kSentinel);
    QTRY_VERIFY(!list.messages.empty() && list.messages.back() == kSentinel);
}

}  // namespace

class MainWindowTest : public QObject {
    Q_OBJECT
  private slots:
    void init() { frame = new MainWindow; }
    void cleanup() {
        delete frame;
        frame = nullptr;
        SetUrlOpener(nullptr);
    }

    void titleObjectNameAndInstance() {
        QCOMPARE(frame->objectName(), QString("VkMainWnd"));
        QCOMPARE(frame->windowTitle(), QString("Velkan Tessiver"));
        QCOMPARE(MainWindow::Instance(), frame);
        QCOMPARE(FrameWindowBase::Instance(), static_cast<FrameWindowBase*>(frame));
        QVERIFY(frame->CommandLine().IsEmpty());
        // Portrait and handheld-sized.
        QCOMPARE(frame->size(), QSize(360, 560));
        QVERIFY(frame->height() > frame->width());
    }

    void copyDataTakesTheCommandLineAndTellsTheList() {
        RecordingList list;
        frame->SetRunningList(&list);
        const auto payload = CommandLinePayload(TextBuffer(u"/smsto:0123?Anna"));
        QCOMPARE(frame->OnCopyData(0, payload.data(), static_cast<std::uint32_t>(payload.size())),
                 1u);
        QCOMPARE(QString::fromUtf16(frame->CommandLine().Text()), QString("/smsto:0123?Anna"));
        Drain(list);
        QCOMPARE(list.messages, (std::vector<std::uint32_t>{kMsgNewFromCommandLine, kSentinel}));
        QCOMPARE(list.parameters[0].first, std::uintptr_t{0});
        QCOMPARE(list.parameters[0].second, std::intptr_t{0});
        frame->SetRunningList(nullptr);
    }

    void copyDataOfFewerThanFiveBytesIsAnsweredAndIgnored() {
        RecordingList list;
        frame->SetRunningList(&list);
        frame->CommandLine() = TextBuffer(u"/smsto:1");
        const std::uint8_t bytes[] = {'9', 0, 0, 0, 0};
        QCOMPARE(frame->OnCopyData(0, bytes, 4), 1u);
        QCOMPARE(frame->OnCopyData(0, bytes, 0), 1u);
        QCOMPARE(QString::fromUtf16(frame->CommandLine().Text()), QString("/smsto:1"));
        Drain(list);
        QCOMPARE(list.messages, std::vector<std::uint32_t>{kSentinel});
        // Five bytes are enough: (5 - 1) / 2 = 2 characters.
        QCOMPARE(frame->OnCopyData(0, bytes, 5), 1u);
        QCOMPARE(frame->CommandLine().Length(), std::size_t{1});  // "9" and a zero
        frame->SetRunningList(nullptr);
    }

    void copyDataWithoutARunningListKeepsTheText() {
        QSignalSpy received(frame, &MainWindow::commandLineReceived);
        const auto payload = CommandLinePayload(TextBuffer(u"/smsto:77"));
        QCOMPARE(frame->OnCopyData(0, payload.data(), static_cast<std::uint32_t>(payload.size())),
                 1u);
        QCOMPARE(received.count(), 1);
        QCOMPARE(QString::fromUtf16(frame->CommandLine().Text()), QString("/smsto:77"));
    }

    void handOverRequestsAreAnswered() {
        QSignalSpy front(frame, &MainWindow::broughtToFront);
        HandOverRequest activate;
        activate.message = kHandOverActivate;
        QCOMPARE(frame->AnswerHandOver(activate), 1u);
        QCOMPARE(front.count(), 1);
        QVERIFY(frame->isVisible());
        HandOverRequest copy;
        copy.message = kHandOverCopyData;
        const auto payload = CommandLinePayload(TextBuffer(u"/smsto:3?C"));
        copy.data = payload;
        QCOMPARE(frame->AnswerHandOver(copy), 1u);
        QCOMPARE(QString::fromUtf16(frame->CommandLine().Text()), QString("/smsto:3?C"));
    }

    void bringToFrontRestoresAMinimisedFrame() {
        frame->showMinimized();
        frame->BringToFront();
        QVERIFY(!frame->isMinimized());
        QVERIFY(frame->isVisible());
    }

    void aboutRunsOverTheRunningListWhichIsHiddenMeanwhile() {
        frame->show();
        RecordingList list;
        bool checked = false;
        list.onShown = [&] {
            frame->SetRunningList(&list);
            QTimer::singleShot(0, frame, [&] {
                auto* about = frame->findChild<AboutPage*>();
                QVERIFY(about != nullptr);
                QVERIFY(about->isVisible());
                QCOMPARE(about->geometry(), frame->rect());
                QVERIFY(!list.isVisible());
                QVERIFY(!list.isEnabled());
                auto* close = about->ControlAs<QToolButton>(IDCANCEL);
                QVERIFY(close != nullptr);
                checked = true;
                close->click();
            });
            list.SendCommand(kCommandAbout);  // goes to the frame; returns when About ends
            QVERIFY(list.isVisible());
            QVERIFY(list.isEnabled());
            list.EndDialog(IDOK);
        };
        QCOMPARE(list.RunPage(nullptr), IDOK);
        QVERIFY(checked);
        frame->SetRunningList(nullptr);
    }

    void exitClosesTheFrameAndEndsTheRunningPages() {
        frame->show();
        RecordingList list;
        list.onShown = [&] { list.SendCommand(kCommandExit); };
        frame->SetRunningList(&list);
        QCOMPARE(list.RunPage(nullptr), IDCANCEL);
        QVERIFY(frame->IsClosing());
        QVERIFY(!frame->isVisible());
        frame->SetRunningList(nullptr);
    }

    void exitAlsoEndsAPageRunningOverTheList() {
        frame->show();
        RecordingList list;
        frame->SetRunningList(&list);
        int aboutResult = -1;
        list.onShown = [&] {
            QTimer::singleShot(0, frame, [&] { frame->Command(kCommandExit)->trigger(); });
            AboutPage about;
            aboutResult = about.RunPage(&list);
        };
        QCOMPARE(list.RunPage(nullptr), IDCANCEL);
        QCOMPARE(aboutResult, IDCANCEL);
        // Once closing, About does not start again.
        frame->Command(kCommandAbout)->trigger();
        QVERIFY(frame->findChildren<AboutPage*>().isEmpty());
        frame->SetRunningList(nullptr);
    }

    void unknownCommandsAreNotTheFramesBusiness() { QVERIFY(frame->Command(40044) == nullptr); }

    void f1OpensTheManualWithoutWaiting() {
        QList<QUrl> opened;
        SetUrlOpener([&](const QUrl& url) {
            opened.push_back(url);
            return true;
        });
        frame->show();
        QTest::keyClick(frame, Qt::Key_F1);
        QCOMPARE(opened.size(), 1);
        QVERIFY(opened[0].isLocalFile());
        QVERIFY(opened[0].toLocalFile().endsWith("docs/help/index.html"));
        QVERIFY(QFile::exists(opened[0].toLocalFile()));

        // F1 on a page reaches the frame as well.
        RecordingList list;
        list.onShown = [&] {
            QTest::keyClick(&list, Qt::Key_F1);
            list.EndDialog(IDOK);
        };
        list.RunPage(nullptr);
        QCOMPARE(opened.size(), 2);
    }

    void helpReportsAViewerThatFails() {
        SetUrlOpener([](const QUrl&) { return false; });
        QVERIFY(!OpenManual());
        SetUrlOpener([](const QUrl&) { return true; });
        QVERIFY(OpenManual());
    }

    void initialGeometryOnABigScreenIsCentredPortrait() {
        const QRect r = MainWindow::InitialGeometry(QRect(0, 0, 1920, 1080));
        QCOMPARE(r.size(), QSize(360, 560));
        QCOMPARE(r.center().x(), QRect(0, 0, 1920, 1080).center().x());
    }

    void initialGeometryOnALowScreenEndsTheMenuBarHeightAboveItsBottom() {
        const QRect available(0, 40, 800, 480);  // a panel of 40 pixels above
        const QRect r = MainWindow::InitialGeometry(available);
        QCOMPARE(r.top(), 40);
        QCOMPARE(r.bottom() + 1, available.bottom() + 1 - 26);
        QCOMPARE(r.width(), 360);
    }

    void initialGeometryOnANarrowScreenFitsItsWidth() {
        const QRect r = MainWindow::InitialGeometry(QRect(0, 0, 320, 1000));
        QCOMPARE(r.width(), 320);
        QCOMPARE(r.height(), 560);
        QCOMPARE(MainWindow::InitialGeometry(QRect()).size(), QSize(360, 560));
    }

  private:
    MainWindow* frame = nullptr;
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
