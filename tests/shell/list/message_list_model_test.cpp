// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the list: ids newest first, records read on demand through a bounded cache,
// rows removed without a reload, and a folder of 100,000 messages.
#include "shell/ui/message_list_model.h"

#include <QScrollBar>
#include <QTimer>
#include <QtTest>

#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "shell/ui/message_list_view.h"

namespace {

class PlainList : public MessageListView {
  public:
    std::function<void()> onShown;

  protected:
    void showEvent(QShowEvent* e) override {
        MessageListView::showEvent(e);
        if (onShown) {
            auto f = std::move(onShown);
            onShown = nullptr;
            QTimer::singleShot(0, this, f);
        }
    }
};

// Writes `count` Inbox messages, one minute apart, oldest first, in one transaction.
bool Populate(int count) {
    MessageDatabase db;
    if (!OpenMessageStore(db)) return false;
    MessageStoreBatch batch(db);
    const FileTime start = MakeTime(2020, 1, 1, 0, 0);
    for (int i = 0; i < count; ++i) {
        SmsMessage m;
        m.folder = kFolderInbox;
        m.name = u"Sender";
        m.number = u"+4917000000";
        m.text = u"message " + QString::number(i).toStdU16String();
        m.time = start + static_cast<FileTime>(i) * 60ull * 10'000'000ull;
        if (!WriteMessage(db, m)) return false;
    }
    return batch.Commit();
}

}  // namespace

class MessageListModelTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { CreateUiFonts(); }
    void init() { env = std::make_unique<TempEnvironment>(); }
    void cleanup() { env.reset(); }

    void recordsAreReadOnDemandAndTheCacheStaysBounded() {
        QVERIFY(Populate(10));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        MessageListModel model;
        model.SetDatabase(&db);
        QVERIFY(model.Load(kFolderInbox));
        QCOMPARE(model.rowCount(), 10);
        QCOMPARE(model.ReadsSinceLoad(), std::size_t{0});
        model.SetCacheCapacity(4);
        for (int r = 0; r < 10; ++r) {
            const SmsMessage* m = model.MessageAt(r);
            QVERIFY(m != nullptr);
            QCOMPARE(m->text, u"message " + QString::number(9 - r).toStdU16String());
        }
        QCOMPARE(model.ReadsSinceLoad(), std::size_t{10});
        QCOMPARE(model.CachedCount(), std::size_t{4});
        // The most recent rows are served from the cache; an evicted one is read again.
        model.MessageAt(9);
        QCOMPARE(model.ReadsSinceLoad(), std::size_t{10});
        model.MessageAt(0);
        QCOMPARE(model.ReadsSinceLoad(), std::size_t{11});
        QCOMPARE(model.data(model.index(3, 0), MessageListModel::kOidRole).value<quint32>(),
                 model.OidAt(3));
        QCOMPARE(model.RowOf(model.OidAt(7)), 7);
        QCOMPARE(model.RowOf(123456), -1);
        QVERIFY(model.MessageAt(10) == nullptr);
        QVERIFY(model.MessageAt(-1) == nullptr);
        QCOMPARE(model.OidAt(10), Oid{0});
    }

    void aRecordGoneFromTheStoreReadsAsNothing() {
        QVERIFY(Populate(3));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        MessageListModel model;
        model.SetDatabase(&db);
        QVERIFY(model.Load(kFolderInbox));
        MessageDatabase other;
        QVERIFY(OpenMessageStore(other));
        QVERIFY(other.DeleteRecord(model.OidAt(1)));
        QVERIFY(model.MessageAt(0) != nullptr);
        QVERIFY(model.MessageAt(1) == nullptr);
    }

    void removingRowsKeepsTheOthersInOrder() {
        QVERIFY(Populate(8));
        MessageDatabase db;
        QVERIFY(OpenMessageStore(db));
        MessageListModel model;
        model.SetDatabase(&db);
        QVERIFY(model.Load(kFolderInbox));
        std::vector<Oid> before;
        for (int r = 0; r < 8; ++r) before.push_back(model.OidAt(r));
        model.MessageAt(6);
        model.RemoveRows({6, 1, 2, 2, 7, 42, -3});
        QCOMPARE(model.rowCount(), 4);
        QCOMPARE(model.OidAt(0), before[0]);
        QCOMPARE(model.OidAt(1), before[3]);
        QCOMPARE(model.OidAt(2), before[4]);
        QCOMPARE(model.OidAt(3), before[5]);
        QCOMPARE(model.RowOf(before[5]), 3);
        QCOMPARE(model.RowOf(before[6]), -1);
    }

    void withoutAStoreTheListIsEmpty() {
        MessageListModel model;
        QVERIFY(!model.Load(kFolderInbox));
        QCOMPARE(model.rowCount(), 0);
        MessageDatabase closed;
        model.SetDatabase(&closed);
        QVERIFY(!model.Load(kFolderInbox));
        QCOMPARE(model.rowCount(), 0);
    }

    void aFolderOfAHundredThousandMessagesOpensWithoutReadingThemAll() {
        constexpr int kCount = 100000;
        QVERIFY(Populate(kCount));
        TestFrame frame;
        frame.resize(360, 560);
        frame.show();
        FrameWindowBase::SetInstance(&frame);
        PlainList list;
        list.onShown = [&] {
            MessageListModel* model = list.Model();
            MessageListControl* l = list.List();
            QCOMPARE(model->rowCount(), kCount);
            // Only the rows in sight are read.
            l->viewport()->grab();
            const std::size_t visible =
                static_cast<std::size_t>(l->viewport()->height() / list.RowHeight()) + 2;
            QVERIFY2(model->ReadsSinceLoad() <= visible,
                     qPrintable(QString::number(model->ReadsSinceLoad())));
            QCOMPARE(model->MessageAt(0)->text, std::u16string(u"message 99999"));
            // The oldest is at the bottom.
            l->scrollToBottom();
            l->viewport()->grab();
            QCOMPARE(l->indexAt(QPoint(1, l->viewport()->height() - 2)).row(), kCount - 1);
            QCOMPARE(model->MessageAt(kCount - 1)->text, std::u16string(u"message 0"));
            QVERIFY(model->CachedCount() <= MessageListModel::kDefaultCacheCapacity);
            // Scrolling through many pages keeps the cache bounded.
            for (int i = 0; i < 40; ++i) {
                l->verticalScrollBar()->setValue(i * 2000 * list.RowHeight());
                l->viewport()->grab();
            }
            QVERIFY(model->CachedCount() <= MessageListModel::kDefaultCacheCapacity);
            // The bottom row stays selected and in sight across a reload.
            const QModelIndex last = model->index(kCount - 1, 0);
            l->selectionModel()->setCurrentIndex(last, QItemSelectionModel::ClearAndSelect);
            l->scrollToTop();
            list.Reload();
            QCOMPARE(list.SelectedRows(), std::vector<int>{kCount - 1});
            QVERIFY(l->viewport()->rect().intersects(l->visualRect(model->index(kCount - 1, 0))));
            // Select everything, then drop the two oldest.
            l->selectAll();
            QCOMPARE(static_cast<int>(list.SelectedRows().size()), kCount);
            l->selectionModel()->clearSelection();
            l->selectionModel()->select(
                QItemSelection(model->index(kCount - 2, 0), model->index(kCount - 1, 0)),
                QItemSelectionModel::Select);
            BoxCapture boxes(IDYES);
            list.SendCommand(MessageListView::kCmdDelete);
            QCOMPARE(model->rowCount(), kCount - 2);
            QCOMPARE(CountInFolder(kFolderInbox), static_cast<std::uint32_t>(kCount - 2));
            list.EndDialog(IDOK);
        };
        list.RunPage(nullptr);
        FrameWindowBase::SetInstance(nullptr);
    }

  private:
    std::unique_ptr<TempEnvironment> env;
};

QTEST_MAIN(MessageListModelTest)
#include "message_list_model_test.moc"
