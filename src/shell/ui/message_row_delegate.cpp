// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/ui/message_row_delegate.h"

#include <QFontMetrics>
#include <QPainter>

#include "framework/ui/resource_text.h"
#include "framework/ui/ui_fonts.h"
#include "shell/ui/message_list_model.h"

namespace {

constexpr unsigned kStringNone = 2100;
constexpr unsigned kStringMayHaveBeenSent = 3176;
constexpr unsigned kStringCannotBeSent = 3177;

QString ShownText(const std::u16string& text) {
    QString s = QString::fromStdU16String(text);
    // The compose field stores line breaks as CR LF; the row shows each as one break.
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(u'\r', u'\n');
    return s;
}

// A text drawn top-left in `rect` and clipped to it.
void DrawClipped(QPainter* painter, const QRect& rect, int flags, const QString& text) {
    if (rect.width() <= 0 || rect.height() <= 0) return;
    painter->save();
    painter->setClipRect(rect, Qt::IntersectClip);
    painter->drawText(rect, flags, text);
    painter->restore();
}

}  // namespace

MessageRowTexts MakeRowTexts(const SmsMessage& message, const TextBuffer& today,
                             const ContactNameLookup& contactName) {
    MessageRowTexts texts;
    TextBuffer date;
    date.FormatDate(message.time, DATE_SHORTDATE);
    if (std::u16string_view(date.Text()) == std::u16string_view(today.Text())) {
        TextBuffer time;
        time.FormatTime(message.time, TIME_NOSECONDS);
        texts.date = QString::fromUtf16(time.Text());
    } else {
        texts.date = QString::fromUtf16(date.Text());
    }
    const std::u16string* known = nullptr;
    if (message.name.empty() && !message.number.empty() && contactName) {
        known = contactName(message.number);
    }
    if (!message.name.empty()) {
        texts.sender = ShownText(message.name);
    } else if (known != nullptr) {
        texts.sender = ShownText(*known);
    } else if (!message.number.empty()) {
        texts.sender = ShownText(message.number);
    } else {
        TextBuffer none;
        none.LoadResourceString(kStringNone);
        texts.sender = QString::fromUtf16(none.Text());
    }
    texts.preview = ShownText(message.text);
    if (message.folder == kFolderOutbox) {
        // A message that may already be out weighs more than one that cannot go out.
        if ((message.flags & kFlagMayHaveBeenSent) != 0) {
            texts.mark = ResourceText(kStringMayHaveBeenSent);
        } else if ((message.flags & kFlagNotEncodable) != 0) {
            texts.mark = ResourceText(kStringCannotBeSent);
        }
    }
    return texts;
}

TextBuffer TodayDateText() {
    TextBuffer today;
    today.FormatDate(CurrentLocalFileTime(), 0);
    return today;
}

RowFontKind RowFontOf(const SmsMessage& message, bool logView) {
    if ((message.flags & kFlagUnread) != 0) return RowFontKind::kUnread;
    if (logView && message.folder == kFolderSent) return RowFontKind::kSentInLog;
    return RowFontKind::kList;
}

MessageRowDelegate::MessageRowDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

int MessageRowDelegate::RowHeightFor(const QFont& listFont) {
    int line = QFontMetrics(listFont).height();
    for (UiFont rowFont : {UiFont::SmallBold, UiFont::MediumItalic}) {
        line = qMax(line, QFontMetrics(GetUiFont(rowFont)).height());
    }
    return (line + 1) * 2;
}

QColor MessageRowDelegate::HighlightColor(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Highlight);
}
QColor MessageRowDelegate::WindowColor(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Base);
}
QColor MessageRowDelegate::GrayTextColor(const QPalette& palette) {
    return palette.color(QPalette::Active, QPalette::Mid);
}

void MessageRowDelegate::PaintRow(QPainter* painter, const QRect& itemRect, bool selected,
                                  bool focused, const QPalette& palette, const QFont& listFont,
                                  const SmsMessage* message) const {
    // Edges as left/top inclusive and right/bottom exclusive; the row's last pixel line is
    // left for the separator.
    int left = itemRect.left();
    int top = itemRect.top();
    int right = itemRect.left() + itemRect.width();
    int bottom = itemRect.top() + itemRect.height();
    bottom -= 1;

    QColor background = WindowColor(palette);
    if (selected) {
        background = HighlightColor(palette);
    } else if (focused) {
        background = QColor::fromRgb(kFocusBackground);
    }
    painter->fillRect(QRect(left, top, right - left, bottom - top), background);
    const QColor textColor =
        palette.color(QPalette::Active, selected ? QPalette::HighlightedText : QPalette::Text);

    left += 2;
    right -= 2;
    bottom -= 1;
    left += 1;

    if (message == nullptr) return;

    painter->save();
    const RowFontKind kind = RowFontOf(*message, logView_);
    QFont font = listFont;
    if (kind == RowFontKind::kUnread) font = GetUiFont(UiFont::SmallBold);
    if (kind == RowFontKind::kSentInLog) font = GetUiFont(UiFont::MediumItalic);
    painter->setFont(font);
    painter->setPen(textColor);

    const MessageRowTexts texts = MakeRowTexts(*message, today_, contactName_);
    const QFontMetrics fm(font);
    // The italic slant needs two more pixels.
    const int dw = fm.horizontalAdvance(texts.date) + (kind == RowFontKind::kSentInLog ? 2 : 0);

    // First line: the sender at the left, the date in the last dw pixels at the right, and a
    // mark, when there is one, right before the date, a space's width away from it.
    const int flags = Qt::AlignLeft | Qt::AlignTop;
    const int mw = texts.mark.isEmpty()
                       ? 0
                       : fm.horizontalAdvance(texts.mark) + fm.horizontalAdvance(QLatin1Char(' '));
    DrawClipped(painter, QRect(left, top, right - dw - mw - left, bottom - top), flags,
                texts.sender);
    DrawClipped(painter, QRect(right - dw, top, dw, bottom - top), flags, texts.date);
    if (mw > 0) {
        painter->setPen(selected ? textColor : QColor::fromRgb(kMarkColor));
        DrawClipped(painter, QRect(qMax(left, right - dw - mw), top, mw, bottom - top), flags,
                    texts.mark);
        painter->setPen(textColor);
    }

    // Second line: the whole text, wrapped into the lower half and clipped there.
    const int lowerTop = top + (bottom - top) / 2;
    if (kind == RowFontKind::kUnread && !selected) {
        painter->setPen(QColor::fromRgb(kUnreadPreview));
    }
    DrawClipped(painter, QRect(left, lowerTop, right - left, bottom - lowerTop),
                flags | Qt::TextWordWrap, texts.preview);

    // Separator along the row's last pixel line.
    painter->setRenderHint(QPainter::Antialiasing, false);
    QPen pen(focused ? HighlightColor(palette) : GrayTextColor(palette));
    pen.setWidth(0);
    painter->setPen(pen);
    const int lineY = bottom + 1;
    painter->drawLine(QPoint(left - 2, lineY), QPoint(right + 2 - 1, lineY));
    painter->restore();
}

void MessageRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const auto* model = qobject_cast<const MessageListModel*>(index.model());
    const SmsMessage* message = model != nullptr ? model->MessageAt(index.row()) : nullptr;
    const bool selected = (option.state & QStyle::State_Selected) != 0;
    const bool focused = (option.state & QStyle::State_HasFocus) != 0;
    PaintRow(painter, option.rect, selected, focused, option.palette, option.font, message);
}

QSize MessageRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    if (rowHeight_ == 0) rowHeight_ = RowHeightFor(option.font);
    return QSize(option.rect.width() > 0 ? option.rect.width() : 1, rowHeight_);
}
