// SPDX-License-Identifier: GPL-3.0-or-later
// Desktop notifications of new messages, through the freedesktop notification service on the
// session bus (org.freedesktop.Notifications). With the Notify setting on, each new message
// raises one notification: the sender (name, the contact's name for a known number, or the
// number) as summary, the first line of the text as body, the program's icon and an action
// "Open". More than three at once become one notification "%d new messages".
//
// Without a bus, or without the service on it, nothing happens and nothing is reported.
#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>
#include <vector>

#include "common/sms_message.h"

class MessageDatabase;

class DesktopNotifier : public QObject {
    Q_OBJECT
  public:
    static constexpr int kMaxSingleNotifications = 3;
    // The icon of the desktop entry, and the key of the "Open" action.
    static constexpr char kIconName[] = "velkan-tessiver";
    static constexpr char kOpenAction[] = "open";

    // On the session bus.
    explicit DesktopNotifier(QObject* parent = nullptr);
    // On `bus` (tests use a bus of their own).
    explicit DesktopNotifier(const QDBusConnection& bus, QObject* parent = nullptr);

    // Raises the notifications of the new messages `stored` (read from `db`) when the Notify
    // setting is on. Returns how many notifications were asked for (0 when off, or without the
    // service).
    int Announce(MessageDatabase& db, const std::vector<Oid>& stored);

    // The notifications shown and not closed, by the service's id: the message each opens (0 for
    // the one that stands for several).
    const QHash<uint, Oid>& Shown() const { return shown_; }

    // The summary and body of one message's notification.
    static QString SummaryOf(const SmsMessage& message);
    static QString BodyOf(const SmsMessage& message);

  signals:
    // "Open" was chosen on the notification of `oid` (0: the one of several messages).
    void openRequested(Oid oid);

  private slots:
    void OnActionInvoked(uint id, const QString& action);
    void OnClosed(uint id, uint reason);

  private:
    bool ServiceAvailable();
    void Listen();
    void Send(const QString& summary, const QString& body, Oid oid);

    QDBusConnection bus_;
    bool listening_ = false;
    QHash<uint, Oid> shown_;
};
