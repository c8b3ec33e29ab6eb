// SPDX-License-Identifier: GPL-3.0-or-later
// The drop-down lists of recent recipients: editable combo boxes that report a choice from the
// list (also by the arrow keys) and a list closed without a choice. Typed text is never added
// to the list and is not completed from it.
#pragma once

#include <QComboBox>

class RecentComboBox : public QComboBox {
    Q_OBJECT
  public:
    explicit RecentComboBox(bool sorted, QWidget* parent = nullptr);

    // Adds an entry: at the end, or in alphabetical order (ignoring case) for a sorted list.
    int AddEntry(const QString& text, int itemData);
    bool IsSorted() const { return sorted_; }

    void showPopup() override;
    void hidePopup() override;

  signals:
    // An entry was chosen (from the list or with the arrow keys); the edit holds its text.
    void entryChosen();
    // The list was closed without choosing an entry.
    void choiceAbandoned();

  private:
    bool sorted_;
    bool chosen_ = false;
};
