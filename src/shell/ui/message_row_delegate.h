// SPDX-License-Identifier: GPL-3.0-or-later
// Draws one row of the message list: two lines in a row of fixed height. The first line holds
// the sender (name, else number, else "(none)") and, at the right, the date, or the time for a
// message of today; the second line previews the text, wrapped and clipped to the lower half.
// Unread messages are bold with a blue preview; sent messages in the "Log" view are italic. An
// Outbox message that may have been sent, or that cannot be sent, carries a red mark that says
// so between the sender and the date.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <QStyledItemDelegate>
#include <functional>
#include <string>
#include <string_view>

#include "common/sms_message.h"
#include "framework/text_buffer.h"

class QFontMetrics;

// The texts of a row.
struct MessageRowTexts {
    QString sender;   // name, else number, else "(none)"
    QString date;     // short date, or the time without seconds for a message of today
    QString preview;  // the whole text, line breaks as "\n"
    QString mark;     // "may have been sent" or "cannot be sent" for such Outbox messages
};

// The name of a contact whose number matches, or null (the names of known numbers).
using ContactNameLookup = std::function<const std::u16string*(std::u16string_view number)>;

// `today` is today's date as a short date text (the reload's), to which a message's date is
// compared as text. With `contactName`, a message without a name whose number it knows shows
// the contact's name as its sender.
MessageRowTexts MakeRowTexts(const SmsMessage& message, const TextBuffer& today,
                             const ContactNameLookup& contactName = {});

// Today's date text: the current local time as a date with the default format.
TextBuffer TodayDateText();

enum class RowFontKind { kList, kUnread, kSentInLog };
RowFontKind RowFontOf(const SmsMessage& message, bool logView);

class MessageRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    // The background of the row that has the focus without being selected.
    static constexpr QRgb kFocusBackground = 0xFFDDDDDD;
    // The preview of an unread message that is not selected.
    static constexpr QRgb kUnreadPreview = 0xFF0000FF;
    // The mark of an Outbox message that may have been sent or cannot be sent.
    static constexpr QRgb kMarkColor = 0xFFC00000;

    explicit MessageRowDelegate(QObject* parent = nullptr);

    void SetToday(const TextBuffer& today) { today_ = today; }
    const TextBuffer& Today() const { return today_; }
    void SetLogView(bool logView) { logView_ = logView; }
    bool LogView() const { return logView_; }
    // Names for known numbers; empty while they are not shown.
    void SetContactNames(ContactNameLookup lookup) { contactName_ = std::move(lookup); }
    const ContactNameLookup& ContactNames() const { return contactName_; }

    // The row height: twice a line plus one pixel, fixed at first use. A line is as tall as the
    // tallest font a row is drawn in (the list's own, the bold of unread messages, the italic
    // of sent ones in the "Log"), measured in the faces the system really uses.
    static int RowHeightFor(const QFont& listFont);
    int RowHeight() const { return rowHeight_; }

    // Paints the row of `message` (null: a record that cannot be read, drawn as an empty row)
    // into the item rectangle `itemRect`.
    void PaintRow(QPainter* painter, const QRect& itemRect, bool selected, bool focused,
                  const QPalette& palette, const QFont& listFont, const SmsMessage* message) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // The colours of a row, from the palette of the list.
    static QColor HighlightColor(const QPalette& palette);
    static QColor WindowColor(const QPalette& palette);
    static QColor GrayTextColor(const QPalette& palette);

  private:
    TextBuffer today_;
    bool logView_ = false;
    ContactNameLookup contactName_;
    mutable int rowHeight_ = 0;
};
