// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class MenuBarStripView;

/// The strip for screen readers: a list with one entry per item, in the order shown. Each entry has the item's name, its readout
/// and a hint how to move it.
class MenuBarStripAccessible final : public QAccessibleWidget {
public:
    /// Makes this the interface of every strip; further calls change nothing.
    static void install();
    /// Reports that the focused item of `strip` has the keyboard focus.
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

    // One id per section for the life of the strip: a rebuild replaces items, but their ids must stay the same.
    QList<QAccessible::Id> m_entries;
};

} // namespace kestrum
