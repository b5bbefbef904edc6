// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class MenuBarStripView;

/// The strip as a screen reader meets it: a list with one entry an item, in the order shown, each with its
/// name and readout, and with what to do to move it.
class MenuBarStripAccessible final : public QAccessibleWidget {
public:
    /// Makes this the interface of every strip; further calls change nothing.
    static void install();
    /// Says that the item focused in `strip` has the keyboard.
    static void tellFocus(MenuBarStripView* strip);

    explicit MenuBarStripAccessible(MenuBarStripView* strip);
    ~MenuBarStripAccessible() override;

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;

private:
    class Entry;

    MenuBarStripView* strip() const;

    // One an section, kept while the strip lives: items come and go with every rebuild, their ids must not.
    QList<QAccessible::Id> m_entries;
};

} // namespace kestrum
