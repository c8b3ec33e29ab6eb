// SPDX-License-Identifier: GPL-3.0-or-later
// A long message joined from its parts, with an emoji, as the person sees it: its row in the
// list and the read dialog show the joined text, and the emoji is drawn (by a font that has
// it, or as the font's box for a character it lacks) without a crash.
#include <QImage>
#include <QPainter>
#include <QTimer>
#include <QtTest>

#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "message_ui/ui/message_dialog.h"
#include "message_ui/ui/message_text_edit.h"
#include "shell/ui/message_row_delegate.h"
#include "store/long_messages.h"
#include "store/message_store.h"

namespace {

constexpr int kWidth = 320;
constexpr char16_t kEmoji[] = u"\xD83D\xDE00";  // U+1F600, a surrogate pair

QPalette WhitePalette() {
    QPalette p;
    p.setColor(QPalette::Base, Qt::white);
    p.setColor(QPalette::Highlight, QColor(10, 36, 106));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Text, Qt::black);
    p.setColor(QPalette::Mid, Qt::gray);
    return p;
}

QImage PaintRow(const SmsMessage& message, int rowHeight) {
    MessageRowDelegate delegate;
    QImage image(kWidth, rowHeight, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    delegate.PaintRow(&painter, QRect(0, 0, kWidth, rowHeight), false, false, WhitePalette(),
                      DialogPixelFont(), &message);
    painter.end();
    return image;
}

// Columns of `area` in which some pixel is not white.
int InkColumns(const QImage& image, QRect area) {
    int n = 0;
    area = area.intersected(image.rect());
    for (int x = area.left(); x <= area.right(); ++x) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (image.pixelColor(x, y) != QColor(Qt::white)) {
                ++n;
                break;
            }
        }
    }
    return n;
}

int RunAndAct(MessageDialog& dialog, const std::function<void()>& act) {
    QTimer::singleShot(0, &dialog, [&dialog, act] {
        act();
        if (dialog.IsRunning()) dialog.EndDialog(IDCANCEL);
    });
    return dialog.RunPage(nullptr);
}

// Stores the parts of one message, the last two first, through the store as a transfer does;
// the Inbox message they make, read from `db` (which the dialog then uses to mark it read).
SmsMessage JoinedFromParts(MessageDatabase& db, const std::vector<std::u16string>& texts) {
    SmsMessage joined;
    if (!OpenMessageStore(db)) return joined;
    SmsMessage fields;
    fields.folder = kFolderInbox;
    fields.number = u"+4930123456";
    fields.flags = kFlagUnread;
    const auto total = static_cast<std::uint32_t>(texts.size());
    for (std::uint32_t i = total; i >= 1; --i) {
        ReceivedPart part;
        part.sender = fields.number;
        part.reference = 42;
        part.total = total;
        part.sequence = i;
        part.time = MakeTime(2024, 5, 10, 9, 5);
        part.text = texts[i - 1];
        PartOutcome outcome;
        if (!StoreReceivedPart(db, part, fields, &joined, &outcome)) return SmsMessage{};
    }
    std::vector<SmsMessage> inbox;
    if (!db.ReadFolderPage(kFolderInbox, 0, 10, &inbox) || inbox.size() != 1) return SmsMessage{};
    return std::move(inbox[0]);
}

}  // namespace

class LongMessageViewTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        CreateUiFonts();
        clock_ = new FixedLocalTime(SystemTime{2024, 5, 0, 10, 14, 30, 0, 0});
    }
    void cleanupTestCase() { delete clock_; }
    void init() {
        env_ = std::make_unique<TempEnvironment>();
        db_ = std::make_unique<MessageDatabase>();
    }
    void cleanup() {
        db_.reset();
        env_.reset();
    }

    void theRowShowsTheJoinedTextWithItsEmojiDrawn() {
        const SmsMessage m = JoinedFromParts(*db_, {u"Hi ", std::u16string(kEmoji) + u"!"});
        QCOMPARE(m.text, std::u16string(u"Hi ") + kEmoji + u"!");
        const int rowHeight = MessageRowDelegate::RowHeightFor(DialogPixelFont());
        const QImage withEmoji = PaintRow(m, rowHeight);
        const SmsMessage plain = MakeMessage(m.folder, m.name, m.number, u"Hi !", m.time, m.flags);
        const QImage without = PaintRow(plain, rowHeight);
        // The preview is the lower half; the emoji takes room of its own there, drawn.
        const QRect preview(0, rowHeight / 2, kWidth, rowHeight / 2 - 2);
        QVERIFY(InkColumns(withEmoji, preview) > InkColumns(without, preview));
        QVERIFY(withEmoji != without);
    }

    void theReadDialogShowsTheJoinedTextAndDrawsTheEmoji() {
        SmsMessage m = JoinedFromParts(*db_, {u"Good ", u"morning ", std::u16string(kEmoji)});
        QCOMPARE(m.text, std::u16string(u"Good morning ") + kEmoji);
        QVERIFY((m.flags & kFlagUnread) != 0);
        QImage shot;
        MessageDialog d(m);
        RunAndAct(d, [&] {
            QVERIFY(d.IsReadOnly());
            QCOMPARE(d.TextEdit()->WindowText().ToU16(), m.text);
            QCOMPARE(d.TextEdit()->toPlainText(), QString::fromStdU16String(m.text));
            shot = d.TextEdit()->viewport()->grab().toImage();
        });
        QVERIFY(!shot.isNull());
        // Some ink right of "Good morning ": the emoji, or the box that stands for it.
        const QFontMetrics metrics(d.TextEdit()->font());
        const int after = metrics.horizontalAdvance(QStringLiteral("Good morning ")) +
                          d.TextEdit()->document()->documentMargin();
        const QRect emojiArea(after, 0, metrics.height() * 2, metrics.height() + 8);
        int ink = 0;
        for (int x = emojiArea.left(); x < std::min(emojiArea.right(), shot.width()); ++x) {
            for (int y = 0; y < std::min(emojiArea.bottom(), shot.height()); ++y) {
                if (shot.pixelColor(x, y).lightness() < 200) ++ink;
            }
        }
        QVERIFY2(ink > 0, "nothing drawn where the emoji is");
    }

  private:
    FixedLocalTime* clock_ = nullptr;
    std::unique_ptr<TempEnvironment> env_;
    std::unique_ptr<MessageDatabase> db_;
};

QTEST_MAIN(LongMessageViewTest)
#include "long_message_view_test.moc"
