// SPDX-License-Identifier: GPL-3.0-or-later
// The program's windows in the user's language: with LANGUAGE=de the program's start-up
// (InstallUserTranslation) makes the message list, its menus and buttons, and the About page
// German.
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>
#include <memory>

#include "framework/ui/menu_bar.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "resources/translations.h"
#include "shell/ui/about_page.h"
#include "shell/ui/message_list_view.h"

namespace {

QStringList ActionTexts(const QMenu* menu) {
    QStringList texts;
    for (const QAction* a : menu->actions()) {
        if (!a->isSeparator()) texts << a->text();
    }
    return texts;
}

// The list as the program runs it, without registering the link handler in the test's home.
class GermanList : public ShownHook<MessageListView> {
  protected:
    void UpdateContactsAddIn() override {}
};

QString LabelText(QWidget& page, const char* name) {
    auto* label = page.findChild<QLabel*>(QLatin1String(name));
    return label != nullptr ? label->text() : QStringLiteral("(no %1)").arg(name);
}

}  // namespace

class LanguageTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        qputenv("LANGUAGE", "de");
        qunsetenv("LC_ALL");
        qunsetenv("LC_MESSAGES");
        qputenv("LANG", "C.UTF-8");
        QCOMPARE(InstallUserTranslation(), QStringLiteral("de"));
        CreateUiFonts();
    }
    void cleanupTestCase() { LoadTranslation({}); }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        env.reset();
    }

    void messageListSpeaksGerman() {
        GermanList list;
        RunPageWith<MessageListView>(list, [&] {
            QComboBox* folders = list.FolderCombo();
            QStringList names;
            for (int i = 0; i < folders->count(); ++i) names << folders->itemText(i);
            QVERIFY2(names.contains("Posteingang"), qPrintable(names.join(", ")));
            QVERIFY(names.contains("Postausgang"));
            QVERIFY(names.contains("Entwürfe"));
            QVERIFY(names.contains("Gesendet"));
            QVERIFY(names.contains("Protokoll"));
            QCOMPARE(list.ControlAs<QPushButton>(MessageListView::kGetId)->text(),
                     QStringLiteral("Abrufen"));
            QCOMPARE(list.ControlAs<QPushButton>(MessageListView::kSendAndGetId)->text(),
                     QStringLiteral("Senden && Abrufen"));

            MenuBar* bar = list.Bar();
            QVERIFY(bar != nullptr);
            QCOMPARE(bar->EntryButton(MessageListView::kCmdNew)->text(), QStringLiteral("Neu"));
            QCOMPARE(bar->EntryButton(MessageListView::kCmdSmsMenu)->text(), QStringLiteral("SMS"));
            QCOMPARE(bar->EntryButton(MessageListView::kCmdOptionsMenu)->text(),
                     QStringLiteral("Optionen"));
            QCOMPARE(
                ActionTexts(bar->PopupOf(MessageListView::kCmdSmsMenu)),
                QStringList({"Löschen", "Antworten", "Weiterleiten", "Erneut senden", "Suchen"}));
            QCOMPARE(ActionTexts(bar->PopupOf(MessageListView::kCmdOptionsMenu)),
                     QStringList({"Beenden", "Über", "Verbindung", "Einstellungen",
                                  "Exportieren...", "Importieren..."}));
        });
    }

    void aboutPageSpeaksGermanButKeepsItsVersion() {
        ShownHook<AboutPage> about;
        RunPageWith<AboutPage>(about, [&] {
            QCOMPARE(LabelText(about, kAboutTaglineName),
                     QStringLiteral("SMS-Verwaltung für Pocket PC"));
            QCOMPARE(about.ControlAs<QLabel>(kAboutVersionControl)->text(),
                     QStringLiteral("Version 1.1 (c4)"));
            QCOMPARE(LabelText(about, kAboutReleaseName),
                     QStringLiteral("Release %1").arg(VELKAN_RELEASE));
            QCOMPARE(LabelText(about, kAboutLicenceName),
                     QStringLiteral("Lizenziert unter der GNU General Public License, Version 3 "
                                    "oder neuer"));
        });
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    TestFrame* frame = nullptr;
};

QTEST_MAIN(LanguageTest)
#include "language_test.moc"
