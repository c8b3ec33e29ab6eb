// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/desktop_notifier.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QStringList>
#include <QVariantMap>

#include "framework/ui/resource_text.h"
#include "message_ui/ui/contact_names_cache.h"
#include "settings/settings_key.h"
#include "store/message_store.h"

namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";
constexpr char kInterface[] = "org.freedesktop.Notifications";
constexpr unsigned kStringProductName = 2;
constexpr unsigned kStringNewMessages = 3301;
constexpr unsigned kStringOpen = 3302;
// The service decides how long a notification stays.
constexpr int kDefaultTimeout = -1;

}  // namespace

DesktopNotifier::DesktopNotifier(QObject* parent)
    : DesktopNotifier(QDBusConnection::sessionBus(), parent) {}

DesktopNotifier::DesktopNotifier(const QDBusConnection& bus, QObject* parent)
    : QObject(parent), bus_(bus) {}

QString DesktopNotifier::SummaryOf(const SmsMessage& message) {
    if (!message.name.empty()) return QString::fromStdU16String(message.name);
    const std::u16string contact = ContactNamesCache::Instance().NameFor(message);
    if (!contact.empty()) return QString::fromStdU16String(contact);
    return QString::fromStdU16String(message.number);
}

QString DesktopNotifier::BodyOf(const SmsMessage& message) {
    const std::u16string& text = message.text;
    const std::size_t end = text.find_first_of(u"\r\n");
    return QString::fromStdU16String(end == std::u16string::npos ? text : text.substr(0, end));
}

bool DesktopNotifier::ServiceAvailable() {
    if (!bus_.isConnected()) return false;
    QDBusConnectionInterface* bus = bus_.interface();
    if (bus == nullptr) return false;
    const QDBusReply<bool> registered = bus->isServiceRegistered(QString::fromLatin1(kService));
    if (registered.isValid() && registered.value()) return true;
    // A service the bus starts on demand counts too.
    const QDBusReply<QStringList> activatable = bus->activatableServiceNames();
    return activatable.isValid() && activatable.value().contains(QString::fromLatin1(kService));
}

void DesktopNotifier::Listen() {
    if (listening_) return;
    listening_ =
        bus_.connect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                     QStringLiteral("ActionInvoked"), this, SLOT(OnActionInvoked(uint, QString)));
    bus_.connect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                 QStringLiteral("NotificationClosed"), this, SLOT(OnClosed(uint, uint)));
}

int DesktopNotifier::Announce(MessageDatabase& db, const std::vector<Oid>& stored) {
    if (stored.empty()) return 0;
    {
        RegistryKey key;
        if (!OpenSettings(key) || !ReadSettingFlag(key, kValueNotify)) return 0;
    }
    if (!ServiceAvailable()) return 0;
    Listen();
    if (stored.size() > static_cast<std::size_t>(kMaxSingleNotifications)) {
        Send(ResourceText(kStringNewMessages)
                 .replace(QStringLiteral("%d"), QString::number(stored.size())),
             QString(), 0);
        return 1;
    }
    int sent = 0;
    for (Oid oid : stored) {
        SmsMessage message;
        message.oid = oid;
        if (!ReadById(db, message)) continue;
        Send(SummaryOf(message), BodyOf(message), oid);
        ++sent;
    }
    return sent;
}

void DesktopNotifier::Send(const QString& summary, const QString& body, Oid oid) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(QString::fromLatin1(kService), QString::fromLatin1(kPath),
                                       QString::fromLatin1(kInterface), QStringLiteral("Notify"));
    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"), QString::fromLatin1(kIconName));
    call << ResourceText(kStringProductName) << uint(0) << QString::fromLatin1(kIconName) << summary
         << body << QStringList{QString::fromLatin1(kOpenAction), ResourceText(kStringOpen)}
         << hints << kDefaultTimeout;
    // Asked without waiting: the id comes back later, and a failure is no one's business.
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, oid](QDBusPendingCallWatcher* w) {
                const QDBusPendingReply<uint> reply = *w;
                if (!reply.isError()) shown_.insert(reply.value(), oid);
                w->deleteLater();
            });
}

void DesktopNotifier::OnActionInvoked(uint id, const QString& action) {
    const auto it = shown_.constFind(id);
    if (it == shown_.constEnd() || action != QLatin1String(kOpenAction)) return;
    emit openRequested(it.value());
}

void DesktopNotifier::OnClosed(uint id, uint) {
    shown_.remove(id);
}
