// SPDX-License-Identifier: GPL-3.0-or-later
// One running instance per user, and the hand-over of a second start's command line to it.
//
// The running instance listens on a local socket (instance_key.h) and answers the requests of
// hand_over.h; a second start connects, asks it to come to the front, hands over its command
// line (if it has one), waits for each answer, and ends. Both sides check that the other runs
// as the same user.
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "framework/text_buffer.h"
#include "shell/hand_over.h"

class QLocalServer;
class QLocalSocket;

// The socket of this user's running instance, in the user's runtime folder; empty when that
// folder is not private to the user.
QString DefaultInstanceSocketPath();

enum class HandOverResult {
    kNoInstance,  // nobody listens: this start becomes the running instance
    kHandedOver,  // the running instance came to the front and took the command line
    kFailed,      // something listens but did not answer as the running instance would
};

// The second start's side: connect to `socketPath`; if an instance of the same user answers,
// bring it to the front and hand over `commandLine` (unless it is empty), waiting up to
// `timeoutMs` for each answer.
HandOverResult HandOverToRunningInstance(const QString& socketPath, const TextBuffer& commandLine,
                                         int timeoutMs = 5000);

// Sends raw requests (EncodeHandOverRequest) and collects the answers, for tests and tools.
// False when the connection fails or an answer does not come.
bool SendHandOverRequests(const QString& socketPath,
                          const std::vector<std::vector<std::uint8_t>>& requests,
                          std::vector<std::uint32_t>* answers, int timeoutMs = 5000);

// The running instance's side.
class SingleInstanceServer : public QObject {
    Q_OBJECT
  public:
    // `handler` answers each complete request (on the user-interface thread).
    using Handler = std::function<std::uint32_t(const HandOverRequest& request)>;
    explicit SingleInstanceServer(Handler handler, QObject* parent = nullptr);
    ~SingleInstanceServer() override;

    // Listens on `socketPath`, replacing a socket that nobody answers on any more (left by an
    // instance that crashed). False when it cannot listen, or when another instance answers
    // there after all (the caller should then hand over to it).
    bool Listen(const QString& socketPath);
    bool IsListening() const;
    QString SocketPath() const { return path_; }

    // Connections refused because the peer was not the same user (for tests).
    int RefusedPeers() const { return refused_; }

  private:
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    Handler handler_;
    QLocalServer* server_ = nullptr;
    // The requests of each connection, cut out as the bytes arrive.
    std::unordered_map<QLocalSocket*, HandOverReader> readers_;
    QString path_;
    int refused_ = 0;
};
