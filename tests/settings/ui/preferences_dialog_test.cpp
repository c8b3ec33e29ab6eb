// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/ui/preferences_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryFile>
#include <QtTest>

#include "framework/ui/menu_bar.h"
#include "framework/ui/message_box.h"
#include "framework/ui/ui_fonts.h"
#include "settings_ui_test_util.h"

namespace {

QCheckBox* Box(PreferencesDialog& d, int id) {
    return d.ControlAs<QCheckBox>(id);
}
QLineEdit* Number(PreferencesDialog& d) {
    return d.ControlAs<QLineEdit>(PreferencesDialog::kIdSmscNumber);
}

// Ticks or clears a box the way a user does: a click on it.
void Click(QCheckBox* box) {
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(6, box->height() / 2));
}

// Types `text` into the number field, replacing what it holds.
void TypeNumber(PreferencesDialog& d, const QString& text) {
    QLineEdit* edit = Number(d);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

QStringList ActionTexts(QMenu* menu) {
    QStringList texts;
    for (QAction* a : menu->actions()) texts << (a->isSeparator() ? QString("-") : a->text());
    return texts;
}

}  // namespace

class PreferencesDialogTest : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        home_ = std::make_unique<TempSettingsHome>();
        QVERIFY(home_->IsValid());
    }
    void cleanup() { home_.reset(); }

    void aFreshKeyShowsEverythingClearAndTheNumberFieldDisabled() {
        PreferencesDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDCANCEL), IDCANCEL);
        QVERIFY(dialog.SettingsOpen());
        for (int id : {1035, 1009, 1008, 1007}) QVERIFY(!Box(dialog, id)->isChecked());
        QCOMPARE(Number(dialog)->text(), QString());
        QVERIFY(!Number(dialog)->isEnabled());
    }

    void roundTripThroughOkAndReopening() {
        {
            PreferencesDialog dialog;
            const int result = RunDialog(
                dialog,
                [&] {
                    for (int id : {1035, 1009, 1008, 1007}) Click(Box(dialog, id));
                    TypeNumber(dialog, "+33 (6) 12-34");
                },
                IDOK);
            QCOMPARE(result, IDOK);
        }
        QCOMPARE(StoredNumber(kValueDelMsg), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredString(kValueSmsc), std::optional<std::u16string>(u"+3361234"));
        QCOMPARE(StoredNumber(kValueSmscCustom), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredNumber(kValueStatusReq), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredNumber(kValueFlash), std::optional<std::uint32_t>(1));
        {
            PreferencesDialog dialog;
            RunDialog(dialog, nullptr, IDCANCEL);
            for (int id : {1035, 1009, 1008, 1007}) QVERIFY(Box(dialog, id)->isChecked());
            QCOMPARE(Number(dialog)->text(), QString("+3361234"));
            QVERIFY(Number(dialog)->isEnabled());
        }
        {
            // And back: each box cleared is stored as exactly 0.
            PreferencesDialog dialog;
            RunDialog(
                dialog,
                [&] {
                    for (int id : {1035, 1009, 1008, 1007}) Click(Box(dialog, id));
                },
                IDOK);
        }
        for (const char16_t* name :
             {kValueDelMsg, kValueSmscCustom, kValueStatusReq, kValueFlash}) {
            QCOMPARE(StoredNumber(name), std::optional<std::uint32_t>(0));
        }
        QCOMPARE(StoredString(kValueSmsc), std::optional<std::u16string>(u"+3361234"));
    }

    void eachBoxOpensFromItsOwnValue() {
        StoreNumber(kValueDelMsg, 1);
        StoreNumber(kValueStatusReq, 0);
        StoreNumber(kValueFlash, 1);
        PreferencesDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QVERIFY(Box(dialog, PreferencesDialog::kIdDeleteAfterRetrieve)->isChecked());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdCustomSmsc)->isChecked());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdRequestStatus)->isChecked());
        QVERIFY(Box(dialog, PreferencesDialog::kIdFlash)->isChecked());
    }

    void theServiceCentreIsStoredNormalised() {
        struct Case {
            QString typed;
            std::u16string stored;
        };
        const Case cases[] = {
            {"+33 (6) 12-34", u"+3361234"},
            {"abc", u""},  // letters only
            {"+", u""},    // a lone plus
            {"", u""},     // empty
            {"a+1", u"+1"},
            {"1+2", u"12"},
        };
        for (const Case& c : cases) {
            StoreString(kValueSmsc, u"old");
            StoreNumber(kValueSmscCustom, 1);
            PreferencesDialog dialog;
            RunDialog(
                dialog, [&] { TypeNumber(dialog, c.typed); }, IDOK);
            QCOMPARE(Number(dialog)->text(), c.typed);
            const auto stored = StoredString(kValueSmsc);
            QVERIFY2(stored.has_value(), qPrintable(c.typed));
            QVERIFY2(*stored == c.stored, qPrintable(c.typed));
        }
    }

    void aServiceCentreOfMoreThanTwentyDigitsIsRefusedAndNothingIsWritten() {
        StoreString(kValueSmsc, u"+4917");
        StoreNumber(kValueSmscCustom, 0);
        struct ShownBox {
            QString caption, text;
        };
        std::vector<ShownBox> boxes;
        const MessageBoxPresenter previous = SetMessageBoxPresenter(
            [&](QWidget*, const QString& caption, const QString& text, BoxKind) {
                boxes.push_back({caption, text});
                return IDOK;
            });
        PreferencesDialog dialog;
        int resultAfterRefusal = -1;
        std::optional<std::u16string> numberAfterRefusal;
        std::optional<std::uint32_t> customAfterRefusal, statusAfterRefusal;
        const int result = RunDialog(
            dialog,
            [&] {
                Click(Box(dialog, PreferencesDialog::kIdCustomSmsc));
                Click(Box(dialog, PreferencesDialog::kIdRequestStatus));
                // 21 digits: one more than a service centre address holds.
                TypeNumber(dialog, "+12 3456 7890 1234 5678 901");
                dialog.SendCommand(IDOK);
                resultAfterRefusal = dialog.Result();
                numberAfterRefusal = StoredString(kValueSmsc);
                customAfterRefusal = StoredNumber(kValueSmscCustom);
                statusAfterRefusal = StoredNumber(kValueStatusReq);
                // 20 digits are taken.
                TypeNumber(dialog, "+12 3456 7890 1234 5678 90");
                dialog.SendCommand(IDOK);
            },
            0);
        SetMessageBoxPresenter(previous);
        QCOMPARE(result, IDOK);
        // The refused OK left the dialog open and wrote nothing.
        QCOMPARE(resultAfterRefusal, IDCANCEL);
        QCOMPARE(numberAfterRefusal, std::optional<std::u16string>(u"+4917"));
        QCOMPARE(customAfterRefusal, std::optional<std::uint32_t>(0));
        QCOMPARE(statusAfterRefusal, std::optional<std::uint32_t>());
        QCOMPARE(boxes.size(), std::size_t{1});
        QCOMPARE(boxes[0].caption, QStringLiteral("Velkan Tessiver"));
        QCOMPARE(
            boxes[0].text,
            QStringLiteral("The service center number has 21 digits; it can have at most 20."));
        QCOMPARE(StoredString(kValueSmsc), std::optional<std::u16string>(u"+12345678901234567890"));
        QCOMPARE(StoredNumber(kValueSmscCustom), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredNumber(kValueStatusReq), std::optional<std::uint32_t>(1));
    }

    void theNumberIsKeptWhenTheBoxIsClear() {
        StoreString(kValueSmsc, u"+4917");
        StoreNumber(kValueSmscCustom, 1);
        PreferencesDialog dialog;
        RunDialog(
            dialog,
            [&] {
                TypeNumber(dialog, "+44 20 7946");
                Click(Box(dialog, PreferencesDialog::kIdCustomSmsc));
            },
            IDOK);
        QVERIFY(!Number(dialog)->isEnabled());
        QCOMPARE(StoredNumber(kValueSmscCustom), std::optional<std::uint32_t>(0));
        QCOMPARE(StoredString(kValueSmsc), std::optional<std::u16string>(u"+44207946"));
    }

    void uncheckingDisablesTheFieldAtOnceAndCheckingEnablesItWithItsText() {
        StoreString(kValueSmsc, u"+336");
        StoreNumber(kValueSmscCustom, 1);
        PreferencesDialog dialog;
        bool enabledAtFirst = false, disabled = false, enabledAgain = false;
        QString textAfter;
        RunDialog(
            dialog,
            [&] {
                enabledAtFirst = Number(dialog)->isEnabled();
                Click(Box(dialog, PreferencesDialog::kIdCustomSmsc));
                disabled = !Number(dialog)->isEnabled();
                Box(dialog, PreferencesDialog::kIdCustomSmsc)->setFocus();
                QTest::keyClick(Box(dialog, PreferencesDialog::kIdCustomSmsc), Qt::Key_Space);
                enabledAgain = Number(dialog)->isEnabled();
                textAfter = Number(dialog)->text();
            },
            IDCANCEL);
        QVERIFY(enabledAtFirst);
        QVERIFY(disabled);
        QVERIFY(enabledAgain);
        QCOMPARE(textAfter, QString("+336"));
    }

    void aFlashValueOfTwoCountsAsSetAndIsRewrittenAsOne() {
        StoreNumber(kValueFlash, 2);
        StoreNumber(kValueSmscCustom, 7);
        PreferencesDialog dialog;
        QCOMPARE(RunDialog(dialog, nullptr, IDOK), IDOK);
        QVERIFY(Box(dialog, PreferencesDialog::kIdFlash)->isChecked());
        QVERIFY(Box(dialog, PreferencesDialog::kIdCustomSmsc)->isChecked());
        QVERIFY(Number(dialog)->isEnabled());
        QCOMPARE(StoredNumber(kValueFlash), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredNumber(kValueSmscCustom), std::optional<std::uint32_t>(1));
    }

    void valuesOfTheWrongTypeReadAsClear() {
        StoreString(kValueFlash, u"yes");
        StoreString(kValueDelMsg, u"-1");
        PreferencesDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QVERIFY(!Box(dialog, PreferencesDialog::kIdFlash)->isChecked());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdDeleteAfterRetrieve)->isChecked());
    }

    void okWritesInItsFixedOrder() {
        StoreNumber(kValueDelMsg, 1);
        StoreNumber(kValueFlash, 1);
        StoreString(kValueSmsc, u"0049 (171)");
        PreferencesDialog dialog;
        std::vector<SettingWrite> writes;
        RunDialog(
            dialog, [&] { writes = dialog.PendingWrites(); }, IDCANCEL);
        const std::vector<SettingWrite> expected = {
            {kValueDelMsg, true, u"", 1},     {kValueSmsc, false, u"0049171", 0},
            {kValueSmscCustom, true, u"", 0}, {kValueStatusReq, true, u"", 0},
            {kValueFlash, true, u"", 1},      {kValueUnicode, true, u"", 0},
            {kValueLongSms, true, u"", 0},
        };
        QCOMPARE(writes.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            QVERIFY2(writes[i] == expected[i],
                     qPrintable(QString::fromStdU16String(expected[i].name)));
        }
    }

    void unicodeAndLongMessagesAreTwoBoxesUnderMessageOptions() {
        {
            PreferencesDialog dialog;
            const int result = RunDialog(
                dialog,
                [&] {
                    QCOMPARE(Box(dialog, PreferencesDialog::kIdUnicode)->text(),
                             QString("Unicode messages"));
                    QCOMPARE(Box(dialog, PreferencesDialog::kIdLongSms)->text(),
                             QString("Long messages"));
                    QVERIFY(!Box(dialog, PreferencesDialog::kIdUnicode)->isChecked());
                    QVERIFY(!Box(dialog, PreferencesDialog::kIdLongSms)->isChecked());
                    // Below the Flash box, one under the other.
                    const QPoint flash = Box(dialog, PreferencesDialog::kIdFlash)->pos();
                    const QPoint unicode = Box(dialog, PreferencesDialog::kIdUnicode)->pos();
                    const QPoint longSms = Box(dialog, PreferencesDialog::kIdLongSms)->pos();
                    QVERIFY(flash.y() < unicode.y() && unicode.y() < longSms.y());
                    Click(Box(dialog, PreferencesDialog::kIdUnicode));
                },
                IDOK);
            QCOMPARE(result, IDOK);
        }
        QCOMPARE(StoredNumber(kValueUnicode), std::optional<std::uint32_t>(1));
        QCOMPARE(StoredNumber(kValueLongSms), std::optional<std::uint32_t>(0));
        StoreNumber(kValueLongSms, 2);  // any non-zero value is set, and rewritten as 1
        {
            PreferencesDialog dialog;
            RunDialog(
                dialog,
                [&] {
                    QVERIFY(Box(dialog, PreferencesDialog::kIdUnicode)->isChecked());
                    QVERIFY(Box(dialog, PreferencesDialog::kIdLongSms)->isChecked());
                    Click(Box(dialog, PreferencesDialog::kIdUnicode));
                },
                IDOK);
        }
        QCOMPARE(StoredNumber(kValueUnicode), std::optional<std::uint32_t>(0));
        QCOMPARE(StoredNumber(kValueLongSms), std::optional<std::uint32_t>(1));
        {
            // Cancel leaves both as they are.
            PreferencesDialog dialog;
            RunDialog(
                dialog, [&] { Click(Box(dialog, PreferencesDialog::kIdLongSms)); }, IDCANCEL);
        }
        QCOMPARE(StoredNumber(kValueLongSms), std::optional<std::uint32_t>(1));
    }

    void cancelWritesNothing() {
        PreferencesDialog dialog;
        const int result = RunDialog(
            dialog,
            [&] {
                for (int id : {1035, 1009, 1008, 1007}) Click(Box(dialog, id));
                TypeNumber(dialog, "+4930");
            },
            IDCANCEL);
        QCOMPARE(result, IDCANCEL);
        for (const char16_t* name :
             {kValueDelMsg, kValueSmscCustom, kValueStatusReq, kValueFlash}) {
            QVERIFY(!StoredNumber(name).has_value());
        }
        QVERIFY(!StoredString(kValueSmsc).has_value());
    }

    void theCaptionButtonsEndTheDialog() {
        {
            PreferencesDialog dialog;
            QCOMPARE(
                RunDialog(
                    dialog,
                    [&] { QTest::mouseClick(dialog.ControlAs<QPushButton>(IDOK), Qt::LeftButton); },
                    0),
                IDOK);
        }
        QCOMPARE(StoredNumber(kValueFlash), std::optional<std::uint32_t>(0));
        {
            StoreNumber(kValueFlash, 1);
            PreferencesDialog dialog;
            QCOMPARE(RunDialog(
                         dialog,
                         [&] {
                             Click(Box(dialog, PreferencesDialog::kIdFlash));
                             QTest::mouseClick(dialog.ControlAs<QPushButton>(IDCANCEL),
                                               Qt::LeftButton);
                         },
                         0),
                     IDCANCEL);
        }
        QCOMPARE(StoredNumber(kValueFlash), std::optional<std::uint32_t>(1));
    }

    void anUnopenableKeyShowsEverythingClearAndOkStillEnds() {
        // A config home below a plain file can be neither opened nor created.
        QTemporaryFile blocker;
        QVERIFY(blocker.open());
        qputenv("XDG_CONFIG_HOME", (blocker.fileName() + "/config").toLocal8Bit());
        PreferencesDialog dialog;
        const int result = RunDialog(
            dialog,
            [&] {
                Click(Box(dialog, PreferencesDialog::kIdCustomSmsc));
                TypeNumber(dialog, "+1");
            },
            IDOK);
        QCOMPARE(result, IDOK);
        QVERIFY(!dialog.SettingsOpen());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdDeleteAfterRetrieve)->isChecked());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdRequestStatus)->isChecked());
        QVERIFY(!Box(dialog, PreferencesDialog::kIdFlash)->isChecked());
        QCOMPARE(Number(dialog)->text(), QString("+1"));
    }

    void labelsHeadingsAndCaption() {
        PreferencesDialog dialog;
        RunDialog(dialog, nullptr, IDCANCEL);
        QCOMPARE(dialog.windowTitle(), QString("Preferences"));
        QCOMPARE(dialog.ControlAs<QLabel>(PreferencesDialog::kIdCaption)->text(),
                 QString("Preferences"));
        QCOMPARE(dialog.ControlAs<QLabel>(PreferencesDialog::kIdPhoneHeading)->text(),
                 QString("Phone"));
        QCOMPARE(dialog.ControlAs<QLabel>(PreferencesDialog::kIdMessageHeading)->text(),
                 QString("Message Options"));
        QCOMPARE(Box(dialog, PreferencesDialog::kIdDeleteAfterRetrieve)->text(),
                 QString("Delete Messages after Retrieve"));
        QCOMPARE(Box(dialog, PreferencesDialog::kIdCustomSmsc)->text(),
                 QString("Custom Service Center:"));
        QCOMPARE(Box(dialog, PreferencesDialog::kIdRequestStatus)->text(),
                 QString("Request Status"));
        QCOMPARE(Box(dialog, PreferencesDialog::kIdFlash)->text(), QString("Flash SMS"));
        for (int id : {PreferencesDialog::kIdPhoneHeading, PreferencesDialog::kIdMessageHeading}) {
            const QFont font = dialog.Control(id)->font();
            QCOMPARE(font, GetUiFont(UiFont::SmallBold));
            QVERIFY(font.weight() >= QFont::ExtraBold);
        }
        QVERIFY(Box(dialog, PreferencesDialog::kIdDeleteAfterRetrieve)->font().weight() <
                QFont::Bold);
        VerifyCaption(dialog);
    }

    void theEditMenuHasItsItemsAndActsOnTheNumber() {
        StoreString(kValueSmsc, u"+4930123");
        StoreNumber(kValueSmscCustom, 1);
        PreferencesDialog dialog;
        QStringList items;
        QString afterCut, afterPaste, afterClear, clipboard;
        RunDialog(
            dialog,
            [&] {
                QMenu* edit = dialog.Bar()->PopupOf(kMenuEdit);
                QVERIFY(edit != nullptr);
                items = ActionTexts(edit);
                auto trigger = [&](int id) {
                    for (QAction* a : edit->actions()) {
                        if (a->data().toInt() == id) a->trigger();
                    }
                };
                Number(dialog)->setFocus();
                trigger(kCmdEditSelectAll);
                trigger(kCmdEditCut);
                afterCut = Number(dialog)->text();
                clipboard = QApplication::clipboard()->text();
                trigger(kCmdEditPaste);
                trigger(kCmdEditPaste);
                afterPaste = Number(dialog)->text();
                Number(dialog)->setSelection(0, 3);
                trigger(kCmdEditClear);
                afterClear = Number(dialog)->text();
            },
            IDCANCEL);
        QCOMPARE(items, QStringList({"Cut", "Copy", "Paste", "Clear", "-", "Select All"}));
        QCOMPARE(afterCut, QString());
        QCOMPARE(clipboard, QString("+4930123"));
        QCOMPARE(afterPaste, QString("+4930123+4930123"));
        QCOMPARE(afterClear, QString("30123+4930123"));
    }

    void editCommandsLeaveADisabledFieldAlone() {
        StoreString(kValueSmsc, u"+4930123");
        PreferencesDialog dialog;
        QString after;
        RunDialog(
            dialog,
            [&] {
                dialog.SendCommand(kCmdEditSelectAll);
                dialog.SendCommand(kCmdEditCut);
                after = Number(dialog)->text();
            },
            IDCANCEL);
        QCOMPARE(after, QString("+4930123"));
    }

    void resizingKeepsTheCaptionButtonsAtTheRightEnd() {
        PreferencesDialog dialog;
        QRect ok, cancel;
        QPoint boxBefore, boxAfter;
        RunDialog(
            dialog,
            [&] {
                boxBefore = Box(dialog, PreferencesDialog::kIdFlash)->pos();
                dialog.resize(500, 300);
                ok = dialog.Control(IDOK)->geometry();
                cancel = dialog.Control(IDCANCEL)->geometry();
                boxAfter = Box(dialog, PreferencesDialog::kIdFlash)->pos();
            },
            IDCANCEL);
        QCOMPARE(cancel.right(), 500 - 1 - 4);
        QCOMPARE(cancel.top(), 4);
        QCOMPARE(ok.right(), cancel.left() - 1 - 2);
        QCOMPARE(ok.top(), 4);
        QCOMPARE(boxAfter, boxBefore);
    }

  private:
    std::unique_ptr<TempSettingsHome> home_;
};

QTEST_MAIN(PreferencesDialogTest)
#include "preferences_dialog_test.moc"
