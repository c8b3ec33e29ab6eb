// SPDX-License-Identifier: GPL-3.0-or-later
// The multi-line text field of a message. It behaves like the classic edit control the
// message rules are written for: its text holds every line break as a carriage return and a
// line feed (two characters), and a text limit, counted in those characters, refuses what the
// user types or pastes beyond it. Text set by the program is not limited.
#pragma once

#include <QPlainTextEdit>

#include "framework/text_buffer.h"

class MessageTextEdit : public QPlainTextEdit {
    Q_OBJECT
  public:
    // The limit a fresh field has.
    static constexpr int kDefaultTextLimit = 30000;

    explicit MessageTextEdit(QWidget* parent = nullptr);

    // The text with CR LF line breaks.
    TextBuffer WindowText() const;
    // Replaces the text; CR LF, a lone CR and a lone LF all become one line break.
    void SetWindowText(const char16_t* text);
    // The length of WindowText(): a line break counts two.
    int WindowTextLength() const;

    int TextLimit() const { return limit_; }
    void SetTextLimit(int limit) { limit_ = limit < 0 ? 0 : limit; }

    // Inserts `text` at the cursor as the user's typing or pasting does: cut to what the limit
    // leaves room for. Returns how much of it (in characters of the field) was inserted.
    int InsertLimited(const QString& text);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;

  private:
    // Room left for new input when the current selection is replaced, in field characters.
    int Room() const;

    int limit_ = kDefaultTextLimit;
};
