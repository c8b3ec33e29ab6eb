// SPDX-License-Identifier: GPL-3.0-or-later
#include "message_ui/ui/recent_combo_box.h"

#include <QTimer>

RecentComboBox::RecentComboBox(bool sorted, QWidget* parent) : QComboBox(parent), sorted_(sorted) {
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setCompleter(nullptr);
    setMaxVisibleItems(10);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(4);
    connect(this, &QComboBox::activated, this, [this] {
        chosen_ = true;
        emit entryChosen();
    });
}

int RecentComboBox::AddEntry(const QString& text, int itemData) {
    int at = count();
    if (sorted_) {
        at = 0;
        while (at < count() && QString::compare(itemText(at), text, Qt::CaseInsensitive) <= 0) {
            ++at;
        }
    }
    // Adding to an editable box must not disturb what the user sees in its edit.
    const QString shown = currentText();
    const int current = currentIndex();
    insertItem(at, text, itemData);
    if (current < 0) {
        setCurrentIndex(-1);
        setEditText(shown);
    }
    return at;
}

void RecentComboBox::showPopup() {
    chosen_ = false;
    QComboBox::showPopup();
}

void RecentComboBox::hidePopup() {
    QComboBox::hidePopup();
    // A choice made in the list is reported right after the list closes, so whether one was
    // made is known only once the closing event has been handled.
    QTimer::singleShot(0, this, [this] {
        if (!chosen_) emit choiceAbandoned();
        chosen_ = false;
    });
}
