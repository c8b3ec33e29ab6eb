// SPDX-License-Identifier: GPL-3.0-or-later
// Shared pieces of the message list and progress dialog tests: a private data folder and
// settings folder per test, a fixed local clock, a frame window, a scripted transfer session
// and captured message boxes.
#pragma once

#include <QByteArray>
#include <QLocale>
#include <QShowEvent>
#include <QString>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "common/file_time.h"
#include "common/sms_message.h"
#include "framework/ui/dialog_base.h"
#include "framework/ui/message_box.h"
#include "session/transfer_session.h"
#include "store/message_store.h"
#include "store/object_store.h"

// The store file and the settings file of one test live in a folder of their own.
class TempEnvironment {
  public:
    TempEnvironment() {
        SetStoreDataDirectory(dir_.filePath(QStringLiteral("data")).toStdString());
        oldConfig_ = qgetenv("XDG_CONFIG_HOME");
        qputenv("XDG_CONFIG_HOME", dir_.filePath(QStringLiteral("config")).toLocal8Bit());
        TakeStoreNotices();
    }
    ~TempEnvironment() {
        SetStoreDataDirectory("");
        qputenv("XDG_CONFIG_HOME", oldConfig_);
        TakeStoreNotices();
    }
    TempEnvironment(const TempEnvironment&) = delete;
    TempEnvironment& operator=(const TempEnvironment&) = delete;
    bool IsValid() const { return dir_.isValid(); }

  private:
    QTemporaryDir dir_;
    QByteArray oldConfig_;
};

// The local wall clock stands at a fixed time while the object lives.
class FixedLocalTime {
  public:
    explicit FixedLocalTime(SystemTime now) : now_(now) {
        SetLocalTimeSource(&FixedLocalTime::Read, this);
    }
    ~FixedLocalTime() { SetLocalTimeSource(nullptr, nullptr); }
    FixedLocalTime(const FixedLocalTime&) = delete;
    FixedLocalTime& operator=(const FixedLocalTime&) = delete;

  private:
    static SystemTime Read(void* self) { return static_cast<FixedLocalTime*>(self)->now_; }
    SystemTime now_;
};

inline FileTime MakeTime(int year, int month, int day, int hour, int minute, int second = 0) {
    SystemTime t{};
    t.year = static_cast<std::uint16_t>(year);
    t.month = static_cast<std::uint16_t>(month);
    t.day = static_cast<std::uint16_t>(day);
    t.hour = static_cast<std::uint16_t>(hour);
    t.minute = static_cast<std::uint16_t>(minute);
    t.second = static_cast<std::uint16_t>(second);
    FileTime ft = 0;
    SystemTimeToFileTime(t, &ft);
    return ft;
}

inline SmsMessage MakeMessage(FolderId folder, const std::u16string& name,
                              const std::u16string& number, const std::u16string& text,
                              FileTime time, std::uint32_t flags = 0) {
    SmsMessage m;
    m.folder = folder;
    m.name = name;
    m.number = number;
    m.text = text;
    m.time = time;
    m.flags = flags;
    return m;
}

// Writes a message through a database object of its own; its record id.
inline Oid StoreMessage(SmsMessage m) {
    MessageDatabase db;
    if (!OpenMessageStore(db)) return 0;
    if (!WriteMessage(db, m)) return 0;
    return m.oid;
}

inline std::uint32_t CountInFolder(FolderId folder) {
    MessageDatabase db;
    std::uint32_t n = 0;
    if (!OpenMessageStore(db) || !db.CountFolder(folder, &n)) return 0xFFFFFFFFu;
    return n;
}

// A page that calls `onShown` once, from its event loop, after it was first shown.
template <typename Page>
class ShownHook : public Page {
  public:
    std::function<void()> onShown;

  protected:
    void showEvent(QShowEvent* e) override {
        Page::showEvent(e);
        if (onShown) {
            auto f = std::move(onShown);
            onShown = nullptr;
            QTimer::singleShot(0, this, f);
        }
    }
};

// Runs `page` as the program's page; `body` acts on it, then the page ends.
template <typename Page>
int RunPageWith(ShownHook<Page>& page, const std::function<void()>& body) {
    page.onShown = [&page, body] {
        body();
        if (page.IsRunning()) page.EndDialog(IDOK);
    };
    return page.RunPage(nullptr);
}

// A frame that records its commands (About) instead of acting on them.
class TestFrame : public FrameWindowBase {
  public:
    static constexpr int kAbout = 57664;
    TestFrame() {
        AddCommand(kAbout, [this] { frameCommands.push_back(kAbout); });
    }
    std::vector<int> frameCommands;
};

// Message boxes are answered by the test and remembered.
struct CapturedBox {
    QString caption;
    QString text;
    BoxKind kind;
};
class BoxCapture {
  public:
    explicit BoxCapture(int answer = IDYES) : answer_(answer) {
        previous_ = SetMessageBoxPresenter(
            [this](QWidget*, const QString& caption, const QString& text, BoxKind kind) {
                boxes.push_back({caption, text, kind});
                return kind == BoxKind::Question ? answer_ : IDOK;
            });
    }
    ~BoxCapture() { SetMessageBoxPresenter(previous_); }
    void SetAnswer(int answer) { answer_ = answer; }
    std::vector<CapturedBox> boxes;

  private:
    int answer_;
    MessageBoxPresenter previous_;
};

// A transfer that posts a fixed sequence of notifications from its worker thread, optionally
// waits for the user's cancel, and ends with a chosen result code.
struct ScriptStep {
    ScriptStep(std::uint32_t m, std::uintptr_t w = 0, std::intptr_t l = 0, std::u16string t = {})
        : message(m), wParam(w), lParam(l), text(std::move(t)) {}
    std::uint32_t message;
    std::uintptr_t wParam;
    std::intptr_t lParam;
    std::u16string text;  // non-empty: written to the text slot with the message
};

class ScriptedSession : public TransferSession {
  public:
    ~ScriptedSession() override { CancelAndWait(); }

    std::vector<ScriptStep> script;
    TransferError finalResult = kErrNone;
    bool waitForCancel = false;
    bool failStart = false;
    // Paced: each step waits until the follower has handled the one before (Ack), as a real
    // transfer does, whose steps are far apart; otherwise the text slot may already hold a
    // later line when the follower reads it.
    bool paced = false;
    std::atomic<int> runs{0};
    // Runs first on the worker thread (for example to store a received message).
    std::function<void()> work;

    void Ack() {
        {
            std::lock_guard<std::mutex> lock(ackLock_);
            ++acks_;
        }
        ackCv_.notify_all();
    }

    void Run() override {
        ++runs;
        if (work) work();
        int posted = 0;
        for (const ScriptStep& step : script) {
            if (!step.text.empty()) {
                PostText(step.message, step.text);
            } else if (Sink() != nullptr) {
                Sink()->Post(step.message, step.wParam, step.lParam);
            }
            ++posted;
            if (paced) {
                std::unique_lock<std::mutex> lock(ackLock_);
                ackCv_.wait_for(lock, std::chrono::seconds(20),
                                [this, posted] { return acks_ >= posted; });
            }
        }
        // The base waits until the cancel event is set.
        if (waitForCancel) WorkerThread::Run();
        SetResult(finalResult);
    }

  protected:
    bool CreateThreadFor(std::thread* thread) override {
        if (failStart) return false;
        return TransferSession::CreateThreadFor(thread);
    }

  private:
    std::mutex ackLock_;
    std::condition_variable ackCv_;
    int acks_ = 0;
};

// The notification sequence of a successful Send && Get with the given sends and receipts.
inline std::vector<ScriptStep> SuccessScript(const std::vector<std::u16string>& sent,
                                             const std::vector<std::u16string>& received) {
    std::vector<ScriptStep> s;
    s.push_back({0x8003, 3104});
    s.push_back({0x8003, 3114});
    s.push_back({0x8003, 3115});
    s.push_back({0x8004, sent.size()});
    for (const auto& t : sent) s.push_back({0x8007, 0, 0, t});
    s.push_back({0x8003, 3103});
    for (const auto& t : received) s.push_back({0x8006, 0, 0, t});
    s.push_back({0x8002});
    return s;
}
