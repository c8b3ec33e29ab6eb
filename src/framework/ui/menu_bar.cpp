// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/menu_bar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QToolButton>

template <typename Control, typename Signal>
void MenuBar::Bind(Control* control, Signal trigger, int id) {
    // The command is looked up when it is chosen, so that one added after the bar was made is
    // found too.
    connect(control, trigger, this, [this, id] {
        if (QAction* command = command_ ? command_(id) : nullptr) command->trigger();
    });
    if (QAction* command = command_ ? command_(id) : nullptr) {
        control->setEnabled(command->isEnabled());
        connect(command, &QAction::enabledChanged, control, &Control::setEnabled);
    }
}

MenuBar::MenuBar(QWidget* parent, const MenuBarDef& def, CommandLookup command)
    : QWidget(parent), command_(std::move(command)) {
    setObjectName(QStringLiteral("menuBar"));
    setFixedHeight(kHeight);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 1, 2, 1);
    layout->setSpacing(2);
    for (const auto& entry : def) {
        auto* button = new QToolButton(this);
        button->setText(entry.label);
        button->setObjectName(QString::number(entry.id));
        button->setAutoRaise(true);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        if (entry.popup.empty()) {
            Bind(button, &QToolButton::clicked, entry.id);
        } else {
            auto* menu = new QMenu(button);
            menu->setObjectName(QString::number(entry.id));
            for (const auto& item : entry.popup) {
                if (item.id == 0) {
                    menu->addSeparator();
                    continue;
                }
                QAction* action = menu->addAction(item.label);
                action->setObjectName(QString::number(item.id));
                action->setData(item.id);
                Bind(action, &QAction::triggered, item.id);
            }
            button->setMenu(menu);
            button->setPopupMode(QToolButton::InstantPopup);
            popups_.emplace_back(entry.id, menu);
        }
        layout->addWidget(button);
    }
    layout->addStretch(1);
}

QToolButton* MenuBar::EntryButton(int entryId) const {
    return findChild<QToolButton*>(QString::number(entryId), Qt::FindDirectChildrenOnly);
}

QMenu* MenuBar::PopupOf(int entryId) const {
    for (const auto& [id, menu] : popups_) {
        if (id == entryId) return menu;
    }
    return nullptr;
}

void MenuBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Button));
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(0, 0, width(), 0);
}
