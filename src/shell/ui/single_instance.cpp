// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/single_instance.h"

#include <unistd.h>

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <memory>

#include "shell/instance_key.h"

namespace {

bool WriteAll(QLocalSocket& socket, const std::vector<std::uint8_t>& bytes, int timeoutMs) {
    if (socket.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<qint64>(bytes.size())) != static_cast<qint64>(bytes.size())) {
        return false;
    }
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(timeoutMs)) return false;
    }
    return true;
}

bool ReadAnswer(QLocalSocket& socket, std::uint32_t& answer, int timeoutMs) {
    while (socket.bytesAvailable() < 4) {
        if (!socket.waitForReadyRead(timeoutMs)) return false;
    }
    std::uint8_t bytes[4];
    if (socket.read(reinterpret_cast<char*>(bytes), 4) != 4) return false;
    answer = GetU32(bytes);
    return true;
}

}  // namespace

QString DefaultInstanceSocketPath() {
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return QString::fromStdString(SingleInstanceSocketPath(runtime.toStdString(), getuid()));
}

namespace {

// Requests over a connected socket, each answer awaited before the next request goes out.
bool Exchange(QLocalSocket& socket, const std::vector<std::vector<std::uint8_t>>& requests,
              std::vector<std::uint32_t>* answers, int timeoutMs) {
    // Never hand anything to a socket that someone else planted.
    if (CheckPeerUser(static_cast<int>(socket.socketDescriptor()), getuid()) !=
        PeerCheck::kSameUser) {
        return false;
    }
    for (const auto& request : requests) {
        std::uint32_t answer = 0;
        if (!WriteAll(socket, request, timeoutMs) || !ReadAnswer(socket, answer, timeoutMs)) {
            return false;
        }
        if (answers != nullptr) answers->push_back(answer);
    }
    socket.disconnectFromServer();
    return true;
}

}  // namespace

bool SendHandOverRequests(const QString& socketPath,
                          const std::vector<std::vector<std::uint8_t>>& requests,
                          std::vector<std::uint32_t>* answers, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(timeoutMs)) return false;
    return Exchange(socket, requests, answers, timeoutMs);
}

HandOverResult HandOverToRunningInstance(const QString& socketPath, const TextBuffer& commandLine,
                                         int timeoutMs) {
    if (socketPath.isEmpty()) return HandOverResult::kNoInstance;
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    // Nobody listens (a socket file without a listener is left from a crash).
    if (!socket.waitForConnected(timeoutMs)) return HandOverResult::kNoInstance;
    std::vector<std::vector<std::uint8_t>> requests;
    requests.push_back(EncodeHandOverRequest(kHandOverActivate, 0, nullptr, 0));
    if (!commandLine.IsEmpty()) {
        const std::vector<std::uint8_t> payload = CommandLinePayload(commandLine);
        requests.push_back(EncodeHandOverRequest(kHandOverCopyData, 0, payload.data(),
                                                 static_cast<std::uint32_t>(payload.size())));
    }
    return Exchange(socket, requests, nullptr, timeoutMs) ? HandOverResult::kHandedOver
                                                          : HandOverResult::kFailed;
}

SingleInstanceServer::SingleInstanceServer(Handler handler, QObject* parent)
    : QObject(parent), handler_(std::move(handler)) {}

SingleInstanceServer::~SingleInstanceServer() {
    if (server_ == nullptr) return;
    // Connections first, while the server they came from still exists.
    for (QLocalSocket* socket : server_->findChildren<QLocalSocket*>()) {
        socket->disconnect(this);
        readers_.erase(socket);
        socket->abort();
        delete socket;
    }
    server_->close();  // also removes the socket file
    delete server_;
}

bool SingleInstanceServer::IsListening() const {
    return server_ != nullptr && server_->isListening();
}

bool SingleInstanceServer::Listen(const QString& socketPath) {
    if (socketPath.isEmpty()) return false;
    delete server_;
    server_ = new QLocalServer(this);
    // No socket options: with them the socket is made elsewhere and renamed into place, which
    // would silently replace the socket of an instance that runs. The folder is private, and
    // every peer's user is checked.
    connect(server_, &QLocalServer::newConnection, this, &SingleInstanceServer::OnNewConnection);
    if (!server_->listen(socketPath)) {
        if (server_->serverError() != QAbstractSocket::AddressInUseError) return false;
        // Someone listens there after all (a start at the same moment), or it is stale.
        QLocalSocket probe;
        probe.connectToServer(socketPath);
        if (probe.waitForConnected(1000)) return false;
        QLocalServer::removeServer(socketPath);
        if (!server_->listen(socketPath)) return false;
    }
    path_ = socketPath;
    return true;
}

void SingleInstanceServer::OnNewConnection() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        if (CheckPeerUser(static_cast<int>(socket->socketDescriptor()), getuid()) !=
            PeerCheck::kSameUser) {
            ++refused_;
            socket->abort();
            socket->deleteLater();
            continue;
        }
        readers_.emplace(socket, HandOverReader());
        connect(socket, &QObject::destroyed, this, [this, socket] { readers_.erase(socket); });
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { OnReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        if (socket->bytesAvailable() > 0) OnReadyRead(socket);
    }
}

void SingleInstanceServer::OnReadyRead(QLocalSocket* socket) {
    const auto found = readers_.find(socket);
    if (found == readers_.end()) return;
    HandOverReader& reader = found->second;
    const QByteArray bytes = socket->readAll();
    reader.Feed(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    HandOverRequest request;
    for (;;) {
        const HandOverReader::Status status = reader.Next(request);
        if (status == HandOverReader::Status::kNeedMore) return;
        if (status == HandOverReader::Status::kBad) {
            socket->abort();
            socket->deleteLater();
            return;
        }
        const std::uint32_t answer = handler_ ? handler_(request) : 0;
        std::vector<std::uint8_t> out;
        PutU32(out, answer);
        socket->write(reinterpret_cast<const char*>(out.data()), static_cast<qint64>(out.size()));
        socket->flush();
    }
}
