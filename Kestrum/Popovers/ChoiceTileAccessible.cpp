// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/ChoiceTileAccessible.h"

#include "Kestrum/Popovers/ChoiceTile.h"

namespace kestrum {

void ChoiceTileAccessible::install()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* tile = qobject_cast<ChoiceTile*>(object);
            return tile ? new ChoiceTileAccessible(tile) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

void ChoiceTileAccessible::notifySelection(ChoiceTile* tile)
{
    QAccessible::State changed;
    changed.selected = true;
    changed.checked = true;
    QAccessibleStateChangeEvent event(tile, changed);
    QAccessible::updateAccessibility(&event);
}

ChoiceTileAccessible::ChoiceTileAccessible(ChoiceTile* tile)
    : QAccessibleWidget(tile, QAccessible::Button)
{
}

ChoiceTile* ChoiceTileAccessible::tile() const
{
    return static_cast<ChoiceTile*>(widget());
}

QString ChoiceTileAccessible::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Name ? tile()->text() : QAccessibleWidget::text(kind);
}

QAccessible::State ChoiceTileAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.selectable = true;
    state.selected = tile()->isSelected();
    // Screen readers announce a checked button, but seldom a selected one.
    state.checkable = true;
    state.checked = tile()->isSelected();
    state.pressed = tile()->isDown();
    return state;
}

QStringList ChoiceTileAccessible::actionNames() const
{
    return QStringList(pressAction()) + QAccessibleWidget::actionNames();
}

void ChoiceTileAccessible::doAction(const QString& name)
{
    if (name == pressAction())
        tile()->click();
    else
        QAccessibleWidget::doAction(name);
}

} // namespace kestrum
