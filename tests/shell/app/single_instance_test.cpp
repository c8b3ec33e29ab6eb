// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/single_instance.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QLocalSocket>
#include <QtTest>
#include <cstring>

#include "shell/hand_over.h"
#include "shell/instance_key.h"
#include "shell/ui/main_window.h"
#include "temp_dir.h"

namespace {

std::vector<std::uint8_t> CopyData(const char16_t* text) {
    const auto payload = CommandLinePayload(TextBuffer(text));
    return EncodeHandOverRequest(kHandOverCopyData, 0, payload.data(),
                                 static_cast<std::uint32_t>(payload.size()));
}

// A client in this thread, driven by the event loop (the server answers from the same loop).
struct AsyncClient {
    QLocalSocket socket;
    bool Connect(const QString& path) {
        socket.connectToServer(path);
        return socket.state() == QLocalSocket::ConnectedState || socket.waitForConnected(2000);
    }
    void Send(const std::vector<std::uint8_t>& bytes) {
        socket.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<qint64>(bytes.size()));
        socket.flush();
    }
    std::uint32_t Answer() {
        std::uint8_t bytes[4];
        socket.read(reinterpret_cast<char*>(bytes), 4);
        return GetU32(bytes);
    }
};

}  // namespace

class SingleInstanceTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        dir = std::make_unique<TempDir>();
        chmod(dir->Path().c_str(), 0700);
        path = QString::fromStdString(SingleInstanceSocketPath(dir->Path(), getuid()));
        QVERIFY(!path.isEmpty());
    }
    void cleanup() { dir.reset(); }

    void socketIsNamedAfterTheFrameClassAndTheUser() {
        QVERIFY(path.endsWith(QString("/VkMainWnd-%1").arg(getuid())));
        qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(dir->Path()));
        QCOMPARE(DefaultInstanceSocketPath(), path);
    }

    void activateAndCommandLineAreAnswered() {
        MainWindow frame;
        QSignalSpy front(&frame, &MainWindow::broughtToFront);
        SingleInstanceServer server(
            [&](const HandOverRequest& r) { return frame.AnswerHandOver(r); });
        QVERIFY(server.Listen(path));
        QVERIFY(server.IsListening());
        QCOMPARE(server.SocketPath(), path);

        AsyncClient client;
        QVERIFY(client.Connect(path));
        client.Send(EncodeHandOverRequest(kHandOverActivate, 0, nullptr, 0));
        QTRY_VERIFY(client.socket.bytesAvailable() >= 4);
        QCOMPARE(client.Answer(), 1u);
        QCOMPARE(front.count(), 1);
        client.Send(CopyData(u"/smsto:0123?Anna"));
        QTRY_VERIFY(client.socket.bytesAvailable() >= 4);
        QCOMPARE(client.Answer(), 1u);
        QCOMPARE(QString::fromUtf16(frame.CommandLine().Text()), QString("/smsto:0123?Anna"));
    }

    void fewerThanFiveBytesAreAnsweredButIgnored() {
        MainWindow frame;
        frame.CommandLine() = TextBuffer(u"before");
        SingleInstanceServer server(
            [&](const HandOverRequest& r) { return frame.AnswerHandOver(r); });
        QVERIFY(server.Listen(path));
        AsyncClient client;
        QVERIFY(client.Connect(path));
        const std::uint8_t four[] = {'x', 0, 0, 0};
        client.Send(EncodeHandOverRequest(kHandOverCopyData, 0, four, 4));
        QTRY_VERIFY(client.socket.bytesAvailable() >= 4);
        QCOMPARE(client.Answer(), 1u);
        QCOMPARE(QString::fromUtf16(frame.CommandLine().Text()), QString("before"));
    }

    void requestsSplitAcrossWritesAreReassembled() {
        int calls = 0;
        SingleInstanceServer server([&](const HandOverRequest& r) {
            ++calls;
            return r.message == kHandOverCopyData ? 1u : 0u;
        });
        QVERIFY(server.Listen(path));
        AsyncClient client;
        QVERIFY(client.Connect(path));
        const auto bytes = CopyData(u"/smsto:1");
        for (std::uint8_t b : bytes) {
            client.Send({b});
            QCoreApplication::processEvents();
        }
        QTRY_VERIFY(client.socket.bytesAvailable() >= 4);
        QCOMPARE(client.Answer(), 1u);
        QCOMPARE(calls, 1);
    }

    void aBadRequestEndsTheConnectionWithoutAnswer() {
        int calls = 0;
        SingleInstanceServer server([&](const HandOverRequest&) {
            ++calls;
            return 1u;
        });
        QVERIFY(server.Listen(path));
        AsyncClient client;
        QVERIFY(client.Connect(path));
        client.Send(EncodeHandOverRequest(0x8009, 0, nullptr, 0));
        QTRY_COMPARE(client.socket.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(client.socket.bytesAvailable(), qint64{0});
        QCOMPARE(calls, 0);
    }

    void aSecondServerDoesNotTakeOverARunningOne() {
        SingleInstanceServer first([](const HandOverRequest&) { return 1u; });
        QVERIFY(first.Listen(path));
        SingleInstanceServer second([](const HandOverRequest&) { return 2u; });
        QVERIFY(!second.Listen(path));
        AsyncClient client;
        QVERIFY(client.Connect(path));
        client.Send(EncodeHandOverRequest(kHandOverActivate, 0, nullptr, 0));
        QTRY_VERIFY(client.socket.bytesAvailable() >= 4);
        QCOMPARE(client.Answer(), 1u);  // still the first
    }

    void aSocketLeftByACrashIsReplaced() {
        // A bound socket file whose owner is gone.
        const int s = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.toUtf8().constData(), sizeof address.sun_path - 1);
        QCOMPARE(bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        close(s);
        QVERIFY(QFile::exists(path));
        QCOMPARE(HandOverToRunningInstance(path, TextBuffer(u"/smsto:1"), 500),
                 HandOverResult::kNoInstance);
        SingleInstanceServer server([](const HandOverRequest&) { return 1u; });
        QVERIFY(server.Listen(path));
    }

    void theSocketGoesWithTheServer() {
        {
            SingleInstanceServer server([](const HandOverRequest&) { return 1u; });
            QVERIFY(server.Listen(path));
            QVERIFY(QFile::exists(path));
        }
        QVERIFY(!QFile::exists(path));
        QCOMPARE(HandOverToRunningInstance(path, TextBuffer(), 500), HandOverResult::kNoInstance);
    }

    void noSocketPathMeansNoInstance() {
        QCOMPARE(HandOverToRunningInstance(QString(), TextBuffer(u"/smsto:1")),
                 HandOverResult::kNoInstance);
        SingleInstanceServer server([](const HandOverRequest&) { return 1u; });
        QVERIFY(!server.Listen(QString()));
        QVERIFY(!server.IsListening());
    }

    // A process of another user that reaches the socket is refused: no answer, connection
    // closed. Needs root to run a process as another user.
    void aPeerOfAnotherUserIsRefused() {
        if (geteuid() != 0) QSKIP("changing the user id needs root");
        int calls = 0;
        SingleInstanceServer server([&](const HandOverRequest&) {
            ++calls;
            return 1u;
        });
        QVERIFY(server.Listen(path));
        // Open the way on purpose, so that only the peer check stands in between.
        chmod(dir->Path().c_str(), 0777);
        chmod(path.toUtf8().constData(), 0777);

        const std::vector<std::uint8_t> request = CopyData(u"/smsto:666");
        const std::string socketPath = path.toStdString();
        const pid_t child = fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            if (setgid(65534) != 0 || setuid(65534) != 0) _exit(3);
            const int s = socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
            if (::connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) _exit(4);
            (void)!write(s, request.data(), request.size());
            std::uint8_t answer[4];
            // The server closes the connection: end of file instead of an answer.
            _exit(read(s, answer, 4) > 0 ? 1 : 0);
        }
        QTRY_COMPARE(server.RefusedPeers(), 1);
        int status = 0;
        bool reaped = false;
        const auto ended = [&] {
            if (!reaped) reaped = waitpid(child, &status, WNOHANG) == child;
            return reaped;
        };
        // The child ends once the server has closed the connection.
        QTRY_VERIFY(ended());
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
        QCOMPARE(calls, 0);
    }

  private:
    std::unique_ptr<TempDir> dir;
    QString path;
};

QTEST_MAIN(SingleInstanceTest)
#include "single_instance_test.moc"
