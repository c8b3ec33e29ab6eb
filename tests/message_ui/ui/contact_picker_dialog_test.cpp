// SPDX-License-Identifier: GPL-3.0-or-later
// The contact picker as a user meets it: only contacts with a mobile number, the two columns,
// cells read when shown, and OK, Return and a double tap taking the selection.
#include "message_ui/ui/contact_picker_dialog.h"

#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>
#include <QtTest>
#include <functional>
#include <memory>

#include "framework/ui/ui_fonts.h"

namespace {

constexpr int kStillOpen = 99;

// Runs the picker on `folder`; `act` works on it once it is open. A picker that `act` did not
// end is ended with kStillOpen.
int RunAndAct(ContactPickerDialog& picker, const QString& folder,
              const std::function<void()>& act) {
    picker.SetContactsFolder(folder.toStdString());
    QTimer::singleShot(0, &picker, [&picker, act] {
        picker.SetResult(kStillOpen);
        act();
        if (picker.Result() == kStillOpen) picker.EndDialog(kStillOpen);
    });
    return picker.RunPage(nullptr);
}

void WriteFile(const QString& path, const QByteArray& text) {
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(text);
}

const QByteArray kCards =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\nTEL;TYPE=CELL:+44 77 12\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Home Only\r\nTEL;TYPE=HOME:+44 20 1\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Work Only\r\nTEL;TYPE=WORK:+44 20 2\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bob Roe\r\nTEL;TYPE=HOME:1\r\nTEL;TYPE=CELL:077 12\r\n"
    "END:VCARD\r\n";

// A picker whose opening a test can run without showing it.
class OpenablePicker : public ContactPickerDialog {
  public:
    bool Open() { return OnInitDialog(); }
};

QString Cell(ContactPickerDialog& picker, int row, int column) {
    return picker.List()->model()->index(row, column).data().toString();
}

void SelectRow(ContactPickerDialog& picker, int row) {
    QTreeView* list = picker.List();
    list->setCurrentIndex(list->model()->index(row, 0));
}

}  // namespace

class ContactPickerDialogTest : public QObject {
    Q_OBJECT

  private slots:
    void initTestCase() { CreateUiFonts(); }

    // Each test starts with a contacts folder holding kCards.
    void init() {
        people_ = std::make_unique<QTemporaryDir>();
        QVERIFY(people_->isValid());
        WriteFile(people_->filePath("people.vcf"), kCards);
    }

    void listsOnlyContactsWithAMobileNumber() {
        ContactPickerDialog picker;
        RunAndAct(picker, People(), [&] {
            QCOMPARE(picker.ContactCount(), 2);
            QCOMPARE(picker.List()->model()->rowCount(), 2);
            QStringList names;
            for (int r = 0; r < 2; ++r) names << Cell(picker, r, 0);
            QCOMPARE(names, (QStringList{"Ann Lee", "Bob Roe"}));
            QCOMPARE(Cell(picker, 0, 1), QStringLiteral("+44 77 12"));
            QCOMPARE(Cell(picker, 1, 1), QStringLiteral("077 12"));
        });
    }

    void hasTitleColumnsAndControls() {
        ContactPickerDialog picker;
        RunAndAct(picker, People(), [&] {
            QCOMPARE(picker.windowTitle(), QStringLiteral("Select a contact"));
            auto* caption = picker.ControlAs<QLabel>(kIdcCaption);
            QVERIFY(caption != nullptr);
            QCOMPARE(caption->text(), QStringLiteral("Select a contact"));
            QCOMPARE(picker.Control(kIdcContactList), static_cast<QWidget*>(picker.List()));
            QVERIFY(picker.Control(IDOK) != nullptr);
            QVERIFY(picker.Control(IDCANCEL) != nullptr);
            QAbstractItemModel* model = picker.List()->model();
            QCOMPARE(model->columnCount(), 2);
            QCOMPARE(model->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Name"));
            QCOMPARE(model->headerData(1, Qt::Horizontal).toString(), QStringLiteral("Phone"));
            QCOMPARE(picker.List()->selectionMode(), QAbstractItemView::SingleSelection);
            QVERIFY(!picker.List()->isSortingEnabled());
            // The two columns share the list's width.
            QHeaderView* header = picker.List()->header();
            QVERIFY(qAbs(header->sectionSize(0) - header->sectionSize(1)) <= 1);
            // The list keeps 6 pixels to the edges and 31 to the top.
            const QRect r = picker.List()->geometry();
            QCOMPARE(r.left(), 6);
            QCOMPARE(r.top(), 31);
            QCOMPARE(picker.ClientSize().width() - r.right() - 1, 6);
            QCOMPARE(picker.ClientSize().height() - r.bottom() - 1, 6);
        });
    }

    void cellsAreReadWhenAskedFor() {
        ContactDirectory directory;
        QCOMPARE(directory.Load(People().toStdString()), std::size_t{2});
        ContactListModel model(&directory);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.Decodings(), 0);
        // Both cells of a row cost one decoding.
        QCOMPARE(model.index(1, 0).data().toString(), QStringLiteral("Bob Roe"));
        QCOMPARE(model.index(1, 1).data().toString(), QStringLiteral("077 12"));
        QCOMPARE(model.Decodings(), 1);
        QCOMPARE(model.index(0, 1).data().toString(), QStringLiteral("+44 77 12"));
        QCOMPARE(model.Decodings(), 2);
    }

    void openingReadsOnlyTheCount() {
        OpenablePicker picker;
        picker.SetContactsFolder(People().toStdString());
        QVERIFY(picker.Open());
        QCOMPARE(picker.List()->model()->rowCount(), 2);
        QCOMPARE(picker.Model()->Decodings(), 0);
        QVERIFY(picker.List()->updatesEnabled());
    }

    void okTakesTheSelectedContact() {
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, People(),
                           [&] {
                               SelectRow(picker, 1);
                               picker.SendCommand(IDOK);
                           }),
                 IDOK);
        QCOMPARE(picker.Name(), std::u16string(u"Bob Roe"));
        QCOMPARE(picker.Phone(), std::u16string(u"077 12"));
    }

    void okWithoutSelectionEndsWithCancel() {
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, People(),
                           [&] {
                               picker.List()->clearSelection();
                               picker.SendCommand(IDOK);
                           }),
                 IDCANCEL);
        QVERIFY(picker.Name().empty());
    }

    void noMobileNumbersGivesAnEmptyListAndOkCancels() {
        QTemporaryDir dir;
        WriteFile(dir.filePath("home.vcf"),
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Home Only\r\nTEL;TYPE=HOME:1\r\nEND:VCARD\r\n");
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, dir.path(),
                           [&] {
                               QCOMPARE(picker.List()->model()->rowCount(), 0);
                               picker.SendCommand(IDOK);
                           }),
                 IDCANCEL);
    }

    void missingFolderGivesAnEmptyList() {
        QTemporaryDir dir;
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, dir.filePath("nothing-here"),
                           [&] {
                               QCOMPARE(picker.List()->model()->rowCount(), 0);
                               picker.SendCommand(IDOK);
                           }),
                 IDCANCEL);
    }

    void returnOnASelectedContactIsOk() {
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, People(),
                           [&] {
                               SelectRow(picker, 0);
                               QTest::keyClick(picker.List(), Qt::Key_Return);
                           }),
                 IDOK);
        QCOMPARE(picker.Name(), std::u16string(u"Ann Lee"));
        QCOMPARE(picker.Phone(), std::u16string(u"+44 77 12"));
    }

    void doubleClickIsOk() {
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, People(),
                           [&] {
                               QTreeView* list = picker.List();
                               const QModelIndex index = list->model()->index(1, 1);
                               list->setCurrentIndex(index);
                               emit list->doubleClicked(index);
                           }),
                 IDOK);
        QCOMPARE(picker.Name(), std::u16string(u"Bob Roe"));
    }

    void cancelEndsWithCancel() {
        ContactPickerDialog picker;
        QCOMPARE(RunAndAct(picker, People(),
                           [&] {
                               SelectRow(picker, 0);
                               picker.SendCommand(IDCANCEL);
                           }),
                 IDCANCEL);
    }

  private:
    QString People() const { return people_->path(); }

    std::unique_ptr<QTemporaryDir> people_;
};

QTEST_MAIN(ContactPickerDialogTest)
#include "contact_picker_dialog_test.moc"
