// SPDX-License-Identifier: GPL-3.0-or-later
// A private session bus for the notification tests: `dbus-daemon --session` started by the test,
// and a notification service on it (org.freedesktop.Notifications) that records each Notify call
// and can invoke an action, as a desktop's notification daemon does.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <vector>

// dbus-daemon on a bus of its own, stopped with the object.
class PrivateBus {
  public:
    PrivateBus() {
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty()) return;
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"),
                       QStringLiteral("--print-address=1")});
        if (!daemon_.waitForStarted(10000)) return;
        // The address is the daemon's first line; it is written once the bus listens.
        while (!daemon_.canReadLine()) {
            if (!daemon_.waitForReadyRead(10000)) return;
        }
        address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
    }
    ~PrivateBus() {
        for (const QString& name : names_) QDBusConnection::disconnectFromBus(name);
        if (daemon_.state() != QProcess::NotRunning) {
            daemon_.kill();
            daemon_.waitForFinished(10000);
        }
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    static bool DaemonInstalled() {
        return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
    }
    bool Ok() const { return !address_.isEmpty(); }
    // A new connection to the bus, named `name` in this process.
    QDBusConnection Connect(const QString& name) {
        names_ << name;
        return QDBusConnection::connectToBus(address_, name);
    }

  private:
    QProcess daemon_;
    QString address_;
    QStringList names_;
};

struct NotifyCall {
    QString appName;
    uint replacesId;
    QString appIcon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int timeout;
    uint id;
};

// The service object; its adaptor below carries the interface.
class NotificationServer : public QObject {
    Q_OBJECT
  public:
    std::vector<NotifyCall> calls;
    std::vector<uint> closed;

    // Registers the service on `bus`; false when the name could not be taken.
    bool Register(QDBusConnection bus);
    // As a person choosing the action `key` of notification `id`.
    void Invoke(uint id, const QString& key) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("ActionInvoked"));
        signal << id << key;
        bus_.send(signal);
    }
    void Close(uint id) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("NotificationClosed"));
        signal << id << uint(2);
        bus_.send(signal);
    }

  private:
    QDBusConnection bus_{QStringLiteral("unused")};
};

class NotificationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
  public:
    explicit NotificationAdaptor(NotificationServer* server)
        : QDBusAbstractAdaptor(server), server_(server) {}

  public slots:
    uint Notify(const QString& appName, uint replacesId, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int timeout) {
        const uint id = static_cast<uint>(server_->calls.size()) + 1;
        server_->calls.push_back(
            {appName, replacesId, appIcon, summary, body, actions, hints, timeout, id});
        return id;
    }
    QStringList GetCapabilities() { return {QStringLiteral("actions"), QStringLiteral("body")}; }

  private:
    NotificationServer* server_;
};

inline bool NotificationServer::Register(QDBusConnection bus) {
    bus_ = bus;
    new NotificationAdaptor(this);
    return bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this) &&
           bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
}
