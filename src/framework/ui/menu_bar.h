// SPDX-License-Identifier: GPL-3.0-or-later
// The menu bar of a page: a bar of buttons and drop-down menus drawn along the bottom of the
// page. An entry is either a button that sends its command at once or a drop-down whose items
// send theirs.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

class QHBoxLayout;
class QMenu;

struct MenuItemDef {
    int id = 0;  // 0 = separator
    QString label;
};

struct MenuBarEntryDef {
    int id = 0;
    QString label;
    std::vector<MenuItemDef> popup;  // empty: the entry is a button
};

using MenuBarDef = std::vector<MenuBarEntryDef>;

class MenuBar : public QWidget {
    Q_OBJECT
  public:
    static constexpr int kHeight = 26;

    MenuBar(QWidget* parent, const MenuBarDef& def, std::function<void(int)> onCommand);

    // The drop-down menu of an entry (null for a button entry), for tests and for the manual.
    QMenu* PopupOf(int entryId) const;
    // Enables or disables every entry and item with this id.
    void SetEnabled(int id, bool enabled);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::function<void(int)> onCommand_;
    std::vector<std::pair<int, QMenu*>> popups_;
};
