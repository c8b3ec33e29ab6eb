// SPDX-License-Identifier: GPL-3.0-or-later
// The menu bar of a page: a bar of buttons and drop-down menus drawn along the bottom of the
// page. An entry is either a button that triggers its command at once or a drop-down whose items
// trigger theirs. The commands are the page's actions (dialog_base.h); an entry or item is
// enabled as long as its command is.
#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <vector>

class QAction;
class QHBoxLayout;
class QMenu;
class QToolButton;

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

    // `command` finds the action that an entry's or an item's identifier stands for (null when
    // nothing handles it: the entry then does nothing).
    using CommandLookup = std::function<QAction*(int id)>;

    MenuBar(QWidget* parent, const MenuBarDef& def, CommandLookup command);

    // The button of an entry, and the drop-down menu of an entry (null for a button entry),
    // for tests and for the manual.
    QToolButton* EntryButton(int entryId) const;
    QMenu* PopupOf(int entryId) const;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    // Makes `trigger` (a button's click or an item's action) trigger command `id`, and follow
    // its enabled state.
    template <typename Control, typename Signal>
    void Bind(Control* control, Signal trigger, int id);

    CommandLookup command_;
    std::vector<std::pair<int, QMenu*>> popups_;
};
