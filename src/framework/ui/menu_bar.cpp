// SPDX-License-Identifier: GPL-3.0-or-later
#include "framework/ui/menu_bar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QToolButton>

MenuBar::MenuBar(QWidget* parent, const MenuBarDef& def, std::function<void(int)> onCommand)
    : QWidget(parent), onCommand_(std::move(onCommand)) {
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
            const int id = entry.id;
            connect(button, &QToolButton::clicked, this, [this, id] {
                if (onCommand_) onCommand_(id);
            });
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
                const int id = item.id;
                connect(action, &QAction::triggered, this, [this, id] {
                    if (onCommand_) onCommand_(id);
                });
            }
            button->setMenu(menu);
            button->setPopupMode(QToolButton::InstantPopup);
            popups_.emplace_back(entry.id, menu);
        }
        layout->addWidget(button);
    }
    layout->addStretch(1);
}

QMenu* MenuBar::PopupOf(int entryId) const {
    for (const auto& [id, menu] : popups_) {
        if (id == entryId) return menu;
    }
    return nullptr;
}

void MenuBar::SetEnabled(int id, bool enabled) {
    const QString name = QString::number(id);
    for (auto* button : findChildren<QToolButton*>(name)) button->setEnabled(enabled);
    for (auto* action : findChildren<QAction*>(name)) action->setEnabled(enabled);
}

void MenuBar::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Button));
    p.setPen(palette().color(QPalette::Mid));
    p.drawLine(0, 0, width(), 0);
}
