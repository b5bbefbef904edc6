// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Window/SettingsPage.h"

#include <QListView>

namespace kestrum {

/// The list of pages in their groups. One page is selected. Headings cannot be selected, and arrow keys skip them. Long texts wrap.
class Sidebar final : public QListView {
    Q_OBJECT
public:
    explicit Sidebar(QWidget* parent = nullptr);

    /// The selected page; the first page if none was selected yet.
    SettingsPage page() const;
    /// Selects `page` without emitting `pageSelected`.
    void setPage(SettingsPage page);

Q_SIGNALS:
    /// The user selected another page.
    void pageSelected(SettingsPage page);

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void resizeEvent(QResizeEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(
        const QModelIndex& index, const QEvent* event) const override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;

private:
    QModelIndex index(SettingsPage page) const;
};

} // namespace kestrum
