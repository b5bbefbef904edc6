#pragma once

#include "Kestrum/Window/SettingsPage.h"

#include <QListView>

namespace kestrum {

/// The pages of the window in their groups, one of them selected. Headings cannot be selected and are passed
/// over by the arrow keys. Texts that are too long for the width wrap.
class Sidebar final : public QListView {
    Q_OBJECT
public:
    explicit Sidebar(QWidget* parent = nullptr);

    /// The page selected; the first one until there is one.
    SettingsPage page() const;
    /// Selects `page`; `pageSelected` is not sent.
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
