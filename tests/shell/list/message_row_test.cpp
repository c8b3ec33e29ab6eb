// SPDX-License-Identifier: GPL-3.0-or-later
// Drawing one row of the message list: texts, fonts, colours by state, the blue preview of an
// unread message, the separator line, and the preview wrapped and clipped in the lower half.
#include <QImage>
#include <QPainter>
#include <QtTest>
#include <functional>

#include "framework/text_buffer.h"
#include "framework/ui/ui_fonts.h"
#include "list_test_support.h"
#include "shell/ui/message_row_delegate.h"

namespace {

const QColor kSentinel(255, 0, 255);
const QColor kBase(255, 255, 255);
const QColor kHighlight(10, 36, 106);
const QColor kGray(128, 128, 128);

QPalette TestPalette() {
    QPalette p;
    p.setColor(QPalette::Base, kBase);
    p.setColor(QPalette::Highlight, kHighlight);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Text, Qt::black);
    p.setColor(QPalette::Mid, kGray);
    return p;
}

constexpr int kWidth = 200;

// Paints one row at the top of an image filled with a sentinel colour, with room below it.
QImage PaintRow(const MessageRowDelegate& delegate, const SmsMessage* message, bool selected,
                bool focused, int rowHeight) {
    QImage image(kWidth, rowHeight + 12, QImage::Format_ARGB32);
    image.fill(kSentinel);
    QPainter painter(&image);
    delegate.PaintRow(&painter, QRect(0, 0, kWidth, rowHeight), selected, focused, TestPalette(),
                      DialogPixelFont(), message);
    painter.end();
    return image;
}

bool IsBlue(QColor c) {
    return c.blue() >= 200 && c.red() <= 80 && c.green() <= 80;
}

int CountPixels(const QImage& image, QRect area, const std::function<bool(QColor)>& test) {
    int n = 0;
    area = area.intersected(image.rect());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (test(image.pixelColor(x, y))) ++n;
        }
    }
    return n;
}

// The rightmost column in `area` that differs from `background`; -1 if none.
int RightmostInk(const QImage& image, QRect area, QColor background) {
    for (int x = area.right(); x >= area.left(); --x) {
        for (int y = area.top(); y <= area.bottom(); ++y) {
            if (image.pixelColor(x, y) != background) return x;
        }
    }
    return -1;
}

}  // namespace

class MessageRowTest : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        CreateUiFonts();
        clock = new FixedLocalTime(SystemTime{2024, 5, 0, 10, 14, 30, 0, 0});
        rowHeight = MessageRowDelegate::RowHeightFor(DialogPixelFont());
    }
    void cleanupTestCase() { delete clock; }

    void aMessageOfTodayShowsItsTimeWithoutSeconds() {
        const TextBuffer today = TodayDateText();
        QCOMPARE(QString::fromUtf16(today.Text()), QStringLiteral("5/10/24"));
        const SmsMessage m =
            MakeMessage(kFolderInbox, u"Anna", u"+491", u"hi", MakeTime(2024, 5, 10, 9, 5, 37));
        const MessageRowTexts t = MakeRowTexts(m, today);
        TextBuffer expected;
        expected.FormatTime(m.time, TIME_NOSECONDS);
        QCOMPARE(t.date, QString::fromUtf16(expected.Text()));
        QVERIFY(t.date.contains(QStringLiteral("9:05")));
        QVERIFY(!t.date.contains(QStringLiteral("37")));
    }

    void aMessageOfAnotherDayShowsItsShortDate() {
        const TextBuffer today = TodayDateText();
        const SmsMessage yesterday =
            MakeMessage(kFolderInbox, u"Anna", u"+491", u"hi", MakeTime(2024, 5, 9, 9, 5, 37));
        QCOMPARE(MakeRowTexts(yesterday, today).date, QStringLiteral("5/9/24"));
        const SmsMessage lastYear =
            MakeMessage(kFolderSent, u"", u"+491", u"hi", MakeTime(2023, 5, 10, 14, 30));
        QCOMPARE(MakeRowTexts(lastYear, today).date, QStringLiteral("5/10/23"));
    }

    void theSenderIsTheNameElseTheNumberElseNone() {
        const TextBuffer today = TodayDateText();
        const FileTime t = MakeTime(2024, 5, 1, 8, 0);
        QCOMPARE(MakeRowTexts(MakeMessage(1, u"Anna", u"+491", u"", t), today).sender,
                 QStringLiteral("Anna"));
        QCOMPARE(MakeRowTexts(MakeMessage(1, u"", u"+491", u"", t), today).sender,
                 QStringLiteral("+491"));
        QCOMPARE(MakeRowTexts(MakeMessage(1, u"", u"", u"", t), today).sender,
                 QStringLiteral("(none)"));
    }

    void thePreviewShowsEachStoredLineBreakOnce() {
        const TextBuffer today = TodayDateText();
        const SmsMessage m = MakeMessage(1, u"A", u"", u"one\r\ntwo", MakeTime(2024, 5, 1, 8, 0));
        QCOMPARE(MakeRowTexts(m, today).preview, QStringLiteral("one\ntwo"));
    }

    void unreadRowsAreBoldAndSentRowsOfTheLogItalic() {
        const FileTime t = MakeTime(2024, 5, 1, 8, 0);
        QCOMPARE(RowFontOf(MakeMessage(kFolderInbox, u"", u"", u"", t, kFlagUnread), false),
                 RowFontKind::kUnread);
        QCOMPARE(RowFontOf(MakeMessage(kFolderInbox, u"", u"", u"", t), true), RowFontKind::kList);
        QCOMPARE(RowFontOf(MakeMessage(kFolderSent, u"", u"", u"", t), true),
                 RowFontKind::kSentInLog);
        QCOMPARE(RowFontOf(MakeMessage(kFolderSent, u"", u"", u"", t), false), RowFontKind::kList);
        QCOMPARE(RowFontOf(MakeMessage(kFolderSent, u"", u"", u"", t, kFlagUnread), true),
                 RowFontKind::kUnread);
    }

    void theRowHeightHoldsTwoLinesAndNeverGrows() {
        const QFontMetrics fm(DialogPixelFont());
        // Two lines of the tallest font a row is drawn in, as the system really renders it.
        int line = fm.height();
        for (UiFont f : {UiFont::SmallBold, UiFont::MediumItalic}) {
            line = qMax(line, QFontMetrics(GetUiFont(f)).height());
        }
        QCOMPARE(rowHeight, (line + 1) * 2);
        MessageRowDelegate delegate;
        QStyleOptionViewItem option;
        option.font = DialogPixelFont();
        option.fontMetrics = fm;
        option.rect = QRect(0, 0, kWidth, 10);
        QCOMPARE(delegate.sizeHint(option, QModelIndex()).height(), rowHeight);
        // Measured once: a later, larger font does not change it.
        QFont big = DialogPixelFont();
        big.setPixelSize(40);
        option.font = big;
        option.fontMetrics = QFontMetrics(big);
        QCOMPARE(delegate.sizeHint(option, QModelIndex()).height(), rowHeight);
        QCOMPARE(delegate.RowHeight(), rowHeight);
    }

    void theBackgroundFollowsTheState() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        const SmsMessage m = MakeMessage(1, u"Anna", u"", u"hello", MakeTime(2024, 5, 1, 8, 0));
        QCOMPARE(PaintRow(delegate, &m, false, false, rowHeight).pixelColor(1, 1), kBase);
        QCOMPARE(PaintRow(delegate, &m, true, false, rowHeight).pixelColor(1, 1), kHighlight);
        QCOMPARE(PaintRow(delegate, &m, false, true, rowHeight).pixelColor(1, 1),
                 QColor(221, 221, 221));
        QCOMPARE(PaintRow(delegate, &m, true, true, rowHeight).pixelColor(1, 1), kHighlight);
        // The background covers every line but the last, from the left edge to the right.
        const QImage plain = PaintRow(delegate, &m, false, false, rowHeight);
        QCOMPARE(plain.pixelColor(0, rowHeight - 2), kBase);
        QCOMPARE(plain.pixelColor(kWidth - 1, rowHeight - 2), kBase);
    }

    void theSeparatorRunsAlongTheLastLineGreyOrHighlighted() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        const SmsMessage m = MakeMessage(1, u"Anna", u"", u"hello", MakeTime(2024, 5, 1, 8, 0));
        const int last = rowHeight - 1;
        const QImage plain = PaintRow(delegate, &m, false, false, rowHeight);
        QCOMPARE(plain.pixelColor(1, last), kGray);
        QCOMPARE(plain.pixelColor(kWidth / 2, last), kGray);
        QCOMPARE(plain.pixelColor(kWidth - 1, last), kGray);
        // Its first pixel is left alone, and nothing is drawn below the row.
        QCOMPARE(plain.pixelColor(0, last), kSentinel);
        QCOMPARE(CountPixels(plain, QRect(0, rowHeight, kWidth, 12),
                             [](QColor c) { return c != kSentinel; }),
                 0);
        const QImage focused = PaintRow(delegate, &m, false, true, rowHeight);
        QCOMPARE(focused.pixelColor(kWidth / 2, last), kHighlight);
        const QImage selected = PaintRow(delegate, &m, true, false, rowHeight);
        QCOMPARE(selected.pixelColor(kWidth / 2, last), kGray);
    }

    void anUnreadRowPreviewsInBlueUnlessSelected() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        const SmsMessage unread = MakeMessage(kFolderInbox, u"Anna", u"", u"WWWW HHHH llll",
                                              MakeTime(2024, 5, 1, 8, 0), kFlagUnread);
        const int half = (rowHeight - 2) / 2;
        const QRect upper(0, 0, kWidth, half);
        const QRect lower(0, half, kWidth, rowHeight - 2 - half);
        const QImage image = PaintRow(delegate, &unread, false, false, rowHeight);
        QVERIFY(CountPixels(image, lower, IsBlue) > 10);
        QCOMPARE(CountPixels(image, upper, IsBlue), 0);  // the sender stays black

        const QImage selected = PaintRow(delegate, &unread, true, false, rowHeight);
        QCOMPARE(CountPixels(selected, lower, IsBlue), 0);
        // Selected text is drawn in the highlighted text colour.
        QVERIFY(CountPixels(selected, lower, [](QColor c) { return c == QColor(Qt::white); }) > 5);

        const SmsMessage read =
            MakeMessage(kFolderInbox, u"Anna", u"", u"WWWW HHHH llll", MakeTime(2024, 5, 1, 8, 0));
        const QImage readImage = PaintRow(delegate, &read, false, false, rowHeight);
        QCOMPARE(CountPixels(readImage, lower, IsBlue), 0);
        QVERIFY(CountPixels(readImage, lower, [](QColor c) { return c.value() < 80; }) > 10);
    }

    void aRecordThatCannotBeReadIsAnEmptyRow() {
        MessageRowDelegate delegate;
        const QImage image = PaintRow(delegate, nullptr, false, false, rowHeight);
        QCOMPARE(CountPixels(image, QRect(0, 0, kWidth, rowHeight - 1),
                             [](QColor c) { return c != kBase; }),
                 0);
        // No separator either.
        QCOMPARE(image.pixelColor(kWidth / 2, rowHeight - 1), kSentinel);
    }

    void aLongTextWrapsInTheLowerHalfAndIsClippedThere() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        QString words;
        for (int i = 0; i < 30; ++i) words += QStringLiteral("mmmmmm ");
        const SmsMessage m =
            MakeMessage(1, u"Anna", u"", words.toStdU16String(), MakeTime(2024, 5, 1, 8, 0));
        const QImage image = PaintRow(delegate, &m, false, false, rowHeight);
        // Text area: 3 pixels in from the left, 2 from the right, and its last line is the one
        // above the line left blank over the separator.
        const int left = 3, right = kWidth - 2, bottom = rowHeight - 2;
        const int lowerTop = (bottom) / 2;
        // Nothing is drawn on the blank line, nor below the row, nor right of the text area.
        QCOMPARE(
            CountPixels(image, QRect(0, bottom, kWidth, 1), [](QColor c) { return c != kBase; }),
            0);
        QCOMPARE(CountPixels(image, QRect(0, rowHeight, kWidth, 12),
                             [](QColor c) { return c != kSentinel; }),
                 0);
        QCOMPARE(CountPixels(image, QRect(right, lowerTop, kWidth - right, bottom - lowerTop),
                             [](QColor c) { return c != kBase; }),
                 0);
        // The lower half holds text.
        const QRect lowerArea(left, lowerTop, right - left, bottom - lowerTop);
        QVERIFY(CountPixels(image, lowerArea, [](QColor c) { return c.value() < 80; }) > 20);

        // Wrapped: the visible line ends at a word boundary, well before a line that is not
        // wrapped, which would run to the edge.
        QImage unwrapped(kWidth, rowHeight, QImage::Format_ARGB32);
        unwrapped.fill(kBase);
        {
            QPainter p(&unwrapped);
            p.setFont(DialogPixelFont());
            p.setPen(Qt::black);
            p.setClipRect(lowerArea);
            p.drawText(lowerArea, Qt::AlignLeft | Qt::AlignTop, words);
        }
        const int wrappedRight = RightmostInk(image, lowerArea, kBase);
        const int unwrappedRight = RightmostInk(unwrapped, lowerArea, kBase);
        QVERIFY2(wrappedRight + 4 < unwrappedRight,
                 qPrintable(QStringLiteral("%1 vs %2").arg(wrappedRight).arg(unwrappedRight)));
    }

    void theDateStandsAtTheRightOfTheFirstLine() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        const SmsMessage m = MakeMessage(1, u"", u"", u"", MakeTime(2024, 5, 1, 8, 0));
        const QImage image = PaintRow(delegate, &m, false, false, rowHeight);
        const int half = (rowHeight - 2) / 2;
        const QFontMetrics fm(DialogPixelFont());
        const int dw = fm.horizontalAdvance(QStringLiteral("5/1/24"));
        const QRect dateArea(kWidth - 2 - dw, 0, dw, half);
        QVERIFY(CountPixels(image, dateArea, [](QColor c) { return c.value() < 80; }) > 5);
        // "(none)" starts at the left.
        QVERIFY(CountPixels(image, QRect(3, 0, 20, half), [](QColor c) { return c.value() < 80; }) >
                3);
    }

    // --- marks of Outbox messages -----------------------------------------------------------

    void anOutboxMessageThatMayHaveBeenSentOrCannotBeSentCarriesAMark() {
        const TextBuffer today = TodayDateText();
        const FileTime t = MakeTime(2024, 5, 1, 8, 0);
        auto mark = [&](FolderId folder, std::uint32_t flags) {
            return MakeRowTexts(MakeMessage(folder, u"Anna", u"+1", u"hi", t, flags), today).mark;
        };
        QCOMPARE(mark(kFolderOutbox, kFlagMayHaveBeenSent), QStringLiteral("may have been sent"));
        QCOMPARE(mark(kFolderOutbox, kFlagNotEncodable), QStringLiteral("cannot be sent"));
        QCOMPARE(mark(kFolderOutbox, kFlagMayHaveBeenSent | kFlagNotEncodable),
                 QStringLiteral("may have been sent"));
        QCOMPARE(mark(kFolderOutbox, 0), QString());
        QCOMPARE(mark(kFolderOutbox, kFlagFlash), QString());
        QCOMPARE(mark(kFolderSent, kFlagMayHaveBeenSent), QString());
    }

    void theMarkIsDrawnInRedBetweenTheSenderAndTheDate() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        const SmsMessage marked = MakeMessage(kFolderOutbox, u"Anna", u"+1", u"hello",
                                              MakeTime(2024, 5, 1, 8, 0), kFlagMayHaveBeenSent);
        const SmsMessage plain =
            MakeMessage(kFolderOutbox, u"Anna", u"+1", u"hello", MakeTime(2024, 5, 1, 8, 0));
        const int half = (rowHeight - 2) / 2;
        const QFontMetrics fm(DialogPixelFont());
        const int dw = fm.horizontalAdvance(QStringLiteral("5/1/24"));
        const int mw = fm.horizontalAdvance(QStringLiteral("may have been sent"));
        auto isRed = [](QColor c) { return c.red() >= 150 && c.green() <= 80 && c.blue() <= 80; };
        const QImage image = PaintRow(delegate, &marked, false, false, rowHeight);
        // Red ink right before the date on the first line, none elsewhere.
        const QRect markArea(kWidth - 2 - dw - mw - fm.horizontalAdvance(QLatin1Char(' ')), 0, mw,
                             half);
        QVERIFY(CountPixels(image, markArea, isRed) > 10);
        QCOMPARE(CountPixels(image, QRect(0, half, kWidth, rowHeight - half), isRed), 0);
        QCOMPARE(CountPixels(image, QRect(kWidth - 2 - dw, 0, dw, half), isRed), 0);
        // The sender and the date are still there.
        QVERIFY(CountPixels(image, QRect(3, 0, 20, half), [](QColor c) { return c.value() < 80; }) >
                3);
        QVERIFY(CountPixels(image, QRect(kWidth - 2 - dw, 0, dw, half),
                            [](QColor c) { return c.value() < 80; }) > 5);
        // A row without the flags is drawn as before: the same pixels as always, no red.
        const QImage plainImage = PaintRow(delegate, &plain, false, false, rowHeight);
        QCOMPARE(CountPixels(plainImage, QRect(0, 0, kWidth, rowHeight), isRed), 0);
        QVERIFY(CountPixels(image, QRect(0, half, kWidth, rowHeight - half),
                            [](QColor c) { return c.value() < 80; }) ==
                CountPixels(plainImage, QRect(0, half, kWidth, rowHeight - half),
                            [](QColor c) { return c.value() < 80; }));
        // Selected, it takes the selected text colour like the rest of the row.
        const QImage selected = PaintRow(delegate, &marked, true, false, rowHeight);
        QCOMPARE(CountPixels(selected, QRect(0, 0, kWidth, rowHeight), isRed), 0);
    }

    // --- heights from the fonts really used -------------------------------------------------

    void theItalicSentRowsOfTheLogKeepTheirDescenders() {
        MessageRowDelegate delegate;
        delegate.SetToday(TodayDateText());
        delegate.SetLogView(true);
        // The row height as the list asks for it, with the list's own font.
        QStyleOptionViewItem option;
        option.font = DialogPixelFont();
        option.fontMetrics = QFontMetrics(DialogPixelFont());
        option.rect = QRect(0, 0, kWidth, 10);
        const int height = delegate.sizeHint(option, QModelIndex()).height();
        const QFont italic = GetUiFont(UiFont::MediumItalic);
        const QFontMetrics fm(italic);
        // The row: its text area ends above the blank line over the separator; the preview
        // starts halfway.
        const int bottom = height - 2;
        const int lowerTop = bottom / 2;
        QVERIFY2(fm.ascent() + fm.descent() <= bottom - lowerTop,
                 qPrintable(QStringLiteral("line %1 in %2 pixels")
                                .arg(fm.ascent() + fm.descent())
                                .arg(bottom - lowerTop)));
        QVERIFY(fm.ascent() + fm.descent() <= lowerTop);
        // Drawn without a clip in the face really used, the descenders of the preview end
        // inside the row.
        const QString text = QStringLiteral("gjpqy");
        QImage free(kWidth, height * 3, QImage::Format_ARGB32);
        free.fill(kBase);
        {
            QPainter p(&free);
            p.setFont(italic);
            p.setPen(Qt::black);
            p.drawText(QRect(3, lowerTop, kWidth - 5, height * 2), Qt::AlignLeft | Qt::AlignTop,
                       text);
        }
        int lowestInk = -1;
        for (int y = free.height() - 1; y >= 0 && lowestInk < 0; --y) {
            for (int x = 0; x < kWidth; ++x) {
                if (free.pixelColor(x, y) != kBase) {
                    lowestInk = y;
                    break;
                }
            }
        }
        QVERIFY(lowestInk > lowerTop);
        QVERIFY2(
            lowestInk < bottom,
            qPrintable(QStringLiteral("ink to %1, row text to %2").arg(lowestInk).arg(bottom)));
        // And the drawn row holds that ink.
        const SmsMessage sent = MakeMessage(kFolderSent, u"Anna", u"+1", text.toStdU16String(),
                                            MakeTime(2024, 5, 1, 8, 0));
        const QImage row = PaintRow(delegate, &sent, false, false, height);
        QVERIFY(CountPixels(row, QRect(0, lowestInk - 1, kWidth, 2),
                            [](QColor c) { return c.value() < 128; }) > 0);
    }

  private:
    FixedLocalTime* clock = nullptr;
    int rowHeight = 0;
};

QTEST_MAIN(MessageRowTest)
#include "message_row_test.moc"
