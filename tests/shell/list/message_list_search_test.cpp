// SPDX-License-Identifier: GPL-3.0-or-later
// Finding messages in the list: Ctrl+F and "Find" show the search field, typing filters the
// rows of the folder (or of every folder) by text, name and number without regard to case or
// accents, Escape shows the folder again with the same message selected, and the filtered rows
// open and delete as the list's own rows do.
#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QMenu>
#include <QtTest>
#include <functional>
#include <memory>

#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "shell/ui/message_list_model.h"
#include "shell/ui/message_list_view.h"
#include "shell/ui/message_row_delegate.h"
#include "shell/ui/progress_dialog.h"

namespace {

class SearchList : public ShownHook<MessageListView> {
  public:
    std::vector<Oid> opened;

  protected:
    int RunMessageDialog(SmsMessage& m) override {
        opened.push_back(m.oid);
        return IDCANCEL;
    }
    std::unique_ptr<ProgressDialog> CreateProgressDialog() override { return nullptr; }
};

int RunList(SearchList& list, const std::function<void()>& body) {
    return RunPageWith<MessageListView>(list, body);
}

std::vector<Oid> RowOids(SearchList& list) {
    std::vector<Oid> oids;
    for (int r = 0; r < list.Model()->rowCount(); ++r) oids.push_back(list.Model()->OidAt(r));
    return oids;
}

std::vector<Oid> SelectedOids(SearchList& list) {
    std::vector<Oid> oids;
    for (int r : list.SelectedRows()) oids.push_back(list.Model()->OidAt(r));
    return oids;
}

void SelectRow(SearchList& list, int row) {
    list.List()->selectionModel()->setCurrentIndex(list.Model()->index(row, 0),
                                                   QItemSelectionModel::ClearAndSelect);
}

}  // namespace

class MessageListSearchTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        CreateUiFonts();
    }

    void init() {
        env = std::make_unique<TempEnvironment>();
        QVERIFY(env->IsValid());
        clock = std::make_unique<FixedLocalTime>(SystemTime{2024, 5, 0, 10, 14, 30, 0, 0});
        frame = new TestFrame;
        frame->resize(360, 560);
        frame->show();
        FrameWindowBase::SetInstance(frame);
    }
    void cleanup() {
        FrameWindowBase::SetInstance(nullptr);
        delete frame;
        frame = nullptr;
        clock.reset();
        env.reset();
    }

    void ctrlFShowsTheFieldAboveTheRowsWithTheCursorInIt() {
        StoreMessage(MakeMessage(1, u"Anna", u"+491701", u"hello", MakeTime(2024, 5, 1, 8, 0)));
        SearchList list;
        bool hiddenAtStart = false;
        QWidget* focusAfter = nullptr;
        RunList(list, [&] {
            frame->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(frame));
            list.List()->setFocus();
            hiddenAtStart = list.SearchBar()->isHidden();
            const QRect listBefore = list.List()->geometry();
            QTest::keyClick(frame->windowHandle(), Qt::Key_F, Qt::ControlModifier);
            QVERIFY(!list.SearchBar()->isHidden());
            focusAfter = QApplication::focusWidget();
            // The field stands between the header and the rows, which move down for it.
            const QRect bar = list.SearchBar()->geometry();
            QCOMPARE(bar.top(), 26);
            QCOMPARE(list.List()->geometry().top(), bar.bottom() + 1);
            QCOMPARE(list.List()->geometry().bottom(), listBefore.bottom());
            QCOMPARE(list.AllFoldersBox()->text(), QStringLiteral("All folders"));
            QVERIFY(!list.AllFoldersBox()->isChecked());
            // Nothing typed: the folder as it was.
            QCOMPARE(list.Model()->rowCount(), 1);
        });
        QVERIFY(hiddenAtStart);
        QCOMPARE(focusAfter, static_cast<QWidget*>(list.SearchField()));
    }

    void theFindEntryOfTheSmsMenuShowsTheFieldToo() {
        SearchList list;
        RunList(list, [&] {
            QMenu* sms = list.Bar()->PopupOf(MessageListView::kCmdSmsMenu);
            QAction* find = nullptr;
            for (QAction* a : sms->actions()) {
                if (a->objectName() == QStringLiteral("40080")) find = a;
            }
            QVERIFY(find != nullptr);
            QCOMPARE(find->text(), QStringLiteral("Find"));
            QVERIFY(list.SearchBar()->isHidden());
            find->trigger();
            QVERIFY(!list.SearchBar()->isHidden());
        });
    }

    void typingFiltersTheFolderByTextNameAndNumber() {
        const Oid text = StoreMessage(
            MakeMessage(1, u"Bob", u"+4930111", u"Lunch at noon?", MakeTime(2024, 5, 1, 8, 0)));
        const Oid name = StoreMessage(MakeMessage(1, u"Lunchbox Ltd", u"+4930222", u"Your order",
                                                  MakeTime(2024, 5, 2, 8, 0)));
        const Oid number = StoreMessage(
            MakeMessage(1, u"", u"+4917055501", u"call me", MakeTime(2024, 5, 3, 8, 0)));
        StoreMessage(
            MakeMessage(1, u"Carl", u"+4930333", u"nothing here", MakeTime(2024, 5, 4, 8, 0)));
        SearchList list;
        RunList(list, [&] {
            QCOMPARE(list.Model()->rowCount(), 4);
            list.SendCommand(MessageListView::kCmdFind);
            QTest::keyClicks(list.SearchField(), QStringLiteral("lunch"));
            QVERIFY(list.Filtered());
            // Newest first, as the folder is.
            QCOMPARE(RowOids(list), (std::vector<Oid>{name, text}));
            list.SearchField()->setText(QStringLiteral("55501"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{number}));
            // Every word must be found, each anywhere.
            list.SearchField()->setText(QStringLiteral("noon lunch"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{text}));
            list.SearchField()->setText(QStringLiteral("noon order"));
            QCOMPARE(list.Model()->rowCount(), 0);
            // Blanks alone are no words: the whole folder.
            list.SearchField()->setText(QStringLiteral("   "));
            QVERIFY(!list.Filtered());
            QCOMPARE(list.Model()->rowCount(), 4);
        });
    }

    void caseAndAccentsDoNotMatter() {
        const Oid creme = StoreMessage(
            MakeMessage(1, u"", u"+1", u"Crème brûlée ce soir", MakeTime(2024, 5, 1, 8, 0)));
        const Oid elodie =
            StoreMessage(MakeMessage(1, u"Élodie", u"+2", u"salut", MakeTime(2024, 5, 2, 8, 0)));
        StoreMessage(MakeMessage(1, u"Zoe", u"+3", u"cream", MakeTime(2024, 5, 3, 8, 0)));
        SearchList list;
        RunList(list, [&] {
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("CREME Brulee"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{creme}));
            list.SearchField()->setText(QString::fromUtf8("crÈme"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{creme}));
            list.SearchField()->setText(QStringLiteral("elodie"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{elodie}));
            list.SearchField()->setText(QStringLiteral("ELO"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{elodie}));
        });
    }

    void allFoldersSearchesEveryFolderAndDrawsTheMixAsTheLogDoes() {
        const Oid in =
            StoreMessage(MakeMessage(1, u"A", u"+1", u"party friday", MakeTime(2024, 5, 1, 8, 0)));
        const Oid sent =
            StoreMessage(MakeMessage(4, u"A", u"+1", u"party at 8", MakeTime(2024, 5, 2, 8, 0)));
        const Oid draft =
            StoreMessage(MakeMessage(3, u"B", u"+2", u"Party!", MakeTime(2024, 5, 3, 8, 0)));
        StoreMessage(MakeMessage(4, u"C", u"+3", u"other", MakeTime(2024, 5, 4, 8, 0)));
        SearchList list;
        RunList(list, [&] {
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("party"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{in}));
            QVERIFY(!list.Delegate()->LogView());
            list.AllFoldersBox()->setChecked(true);
            QCOMPARE(RowOids(list), (std::vector<Oid>{draft, sent, in}));
            QVERIFY(list.Delegate()->LogView());
            // The folder shown stays the Inbox; unticked, the filter is the Inbox's again.
            QCOMPARE(list.CurrentFolder(), kFolderInbox);
            list.AllFoldersBox()->setChecked(false);
            QCOMPARE(RowOids(list), (std::vector<Oid>{in}));
            // Another folder chosen while the field is shown: its matches.
            list.SwitchFolder(kFolderSent);
            QCOMPARE(RowOids(list), (std::vector<Oid>{sent}));
        });
    }

    void escapeClearsHidesAndShowsTheFolderWithTheSelectionKept() {
        std::vector<Oid> oids;
        for (int i = 0; i < 6; ++i) {
            oids.push_back(
                StoreMessage(MakeMessage(1, u"N", u"+1", i % 2 == 0 ? u"apple pie" : u"banana",
                                         MakeTime(2024, 5, 1 + i, 8, 0))));
        }
        SearchList list;
        RunList(list, [&] {
            frame->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(frame));
            list.ShowSearch();
            QTest::keyClicks(list.SearchField(), QStringLiteral("apple"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{oids[4], oids[2], oids[0]}));
            SelectRow(list, 1);  // oids[2]
            QTest::keyClick(list.SearchField(), Qt::Key_Escape);
            QVERIFY(list.SearchBar()->isHidden());
            QVERIFY(list.SearchField()->text().isEmpty());
            QVERIFY(!list.Filtered());
            QCOMPARE(list.Model()->rowCount(), 6);
            QCOMPARE(SelectedOids(list), std::vector<Oid>{oids[2]});
            QCOMPARE(list.List()->currentIndex().row(), 3);
            QCOMPARE(list.List()->geometry().top(), 26);
            // Escape with the rows in the keyboard's hands closes the search as well.
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("banana"));
            SelectRow(list, 2);  // oids[1]
            list.List()->setFocus();
            QTest::keyClick(list.List(), Qt::Key_Escape);
            QVERIFY(list.SearchBar()->isHidden());
            QCOMPARE(SelectedOids(list), std::vector<Oid>{oids[1]});
            // Without a search, Escape leaves the list as it is.
            QTest::keyClick(list.List(), Qt::Key_Escape);
            QVERIFY(list.IsRunning());
            QCOMPARE(list.Model()->rowCount(), 6);
        });
    }

    void downOrEnterInTheFieldMovesToTheFirstMessageFound() {
        StoreMessage(MakeMessage(1, u"A", u"+1", u"plum", MakeTime(2024, 5, 1, 8, 0)));
        const Oid newer =
            StoreMessage(MakeMessage(1, u"B", u"+2", u"plum", MakeTime(2024, 5, 2, 8, 0)));
        SearchList list;
        std::vector<QWidget*> focus;
        std::vector<std::vector<Oid>> selected;
        RunList(list, [&] {
            frame->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(frame));
            for (Qt::Key key : {Qt::Key_Down, Qt::Key_Return}) {
                list.ShowSearch();
                list.List()->selectionModel()->clearSelection();
                QTest::keyClicks(list.SearchField(), QStringLiteral("plum"));
                QCOMPARE(QApplication::focusWidget(), static_cast<QWidget*>(list.SearchField()));
                QTest::keyClick(list.SearchField(), key);
                focus.push_back(QApplication::focusWidget());
                selected.push_back(SelectedOids(list));
                // Nothing was opened: Enter in the field only moves to the rows.
                QVERIFY(list.opened.empty());
                list.CloseSearch();
            }
        });
        QCOMPARE(focus, (std::vector<QWidget*>{list.List(), list.List()}));
        QCOMPARE(selected, (std::vector<std::vector<Oid>>{{newer}, {newer}}));
    }

    void filteredRowsOpenAndDeleteTheirOwnMessages() {
        const Oid keep =
            StoreMessage(MakeMessage(1, u"A", u"+1", u"kiwi", MakeTime(2024, 5, 1, 8, 0)));
        const Oid match1 =
            StoreMessage(MakeMessage(1, u"B", u"+2", u"mango", MakeTime(2024, 5, 2, 8, 0)));
        const Oid match2 =
            StoreMessage(MakeMessage(1, u"C", u"+3", u"mango too", MakeTime(2024, 5, 3, 8, 0)));
        SearchList list;
        BoxCapture boxes(IDYES);
        RunList(list, [&] {
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("mango"));
            QCOMPARE(RowOids(list), (std::vector<Oid>{match2, match1}));
            // Open: the row's own message, and the filter stays after the reload.
            SelectRow(list, 1);
            list.List()->setFocus();
            QTest::keyClick(list.List(), Qt::Key_Return);
            QCOMPARE(list.opened, std::vector<Oid>{match1});
            QVERIFY(list.Filtered());
            QCOMPARE(RowOids(list), (std::vector<Oid>{match2, match1}));
            QCOMPARE(SelectedOids(list), std::vector<Oid>{match1});
            // Delete: the row's own message goes, the others stay.
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(RowOids(list), (std::vector<Oid>{match2}));
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            SmsMessage m;
            m.oid = match1;
            QVERIFY(!ReadById(db, m));
            m.oid = keep;
            QVERIFY(ReadById(db, m));
            QTest::keyClick(list.SearchField(), Qt::Key_Escape);
            QCOMPARE(RowOids(list), (std::vector<Oid>{match2, keep}));
        });
        QCOMPARE(boxes.boxes.size(), std::size_t{1});
    }

    void manyMatchesAreFetchedAScreenAtATime() {
        {
            MessageDatabase db;
            QVERIFY(OpenMessageStore(db));
            MessageStoreBatch batch(db);
            QVERIFY(batch.Started());
            for (int i = 0; i < 250; ++i) {
                SmsMessage m = MakeMessage(1, u"N", u"+1", u"weekly report",
                                           MakeTime(2024, 1, 1, 8, 0) + FileTime(i) * 10000000);
                QVERIFY(WriteMessage(db, m));
            }
            QVERIFY(batch.Commit());
        }
        SearchList list;
        RunList(list, [&] {
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("report"));
            QCOMPARE(list.Model()->rowCount(), int(MessageListModel::kSearchScreen));
            QVERIFY(list.Model()->Searching());
            QVERIFY(list.Model()->canFetchMore(QModelIndex()));
            // Scrolling to the end asks for the next screen.
            list.List()->scrollToBottom();
            QTRY_VERIFY(list.Model()->rowCount() > int(MessageListModel::kSearchScreen));
            while (list.Model()->canFetchMore(QModelIndex()))
                list.Model()->fetchMore(QModelIndex());
            QCOMPARE(list.Model()->rowCount(), 250);
            // A reload (after a message was opened and saved) finds the selected match again,
            // however far down it was.
            const Oid far = list.Model()->OidAt(230);
            SelectRow(list, 230);
            list.Reload();
            QCOMPARE(SelectedOids(list), std::vector<Oid>{far});
            QCOMPARE(list.Model()->RowOf(far), 230);
            list.CloseSearch();
            QVERIFY(!list.Model()->Searching());
            QCOMPARE(list.Model()->rowCount(), 250);
            QCOMPARE(SelectedOids(list), std::vector<Oid>{far});
            // A selected message the words do not match costs no further screens: only the
            // first is read.
            const Oid other =
                StoreMessage(MakeMessage(1, u"N", u"+1", u"minutes", MakeTime(2023, 1, 1, 8, 0)));
            list.Reload();
            SelectRow(list, list.Model()->RowOf(other));
            list.ShowSearch();
            list.SearchField()->setText(QStringLiteral("report"));
            QCOMPARE(list.Model()->rowCount(), int(MessageListModel::kSearchScreen));
            QVERIFY(SelectedOids(list).empty());
        });
    }

  private:
    std::unique_ptr<TempEnvironment> env;
    std::unique_ptr<FixedLocalTime> clock;
    TestFrame* frame = nullptr;
};

QTEST_MAIN(MessageListSearchTest)
#include "message_list_search_test.moc"
