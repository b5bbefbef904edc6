// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class ChoiceTile;

/// A tile for assistive programs: a button that can be pressed and is selected or not.
class ChoiceTileAccessible final : public QAccessibleWidget {
public:
    /// Makes this the interface of every tile. Further calls change nothing.
    static void install();
    /// Reports that the selection of `tile` has changed.
    static void notifySelection(ChoiceTile* tile);

    explicit ChoiceTileAccessible(ChoiceTile* tile);

    QString text(QAccessible::Text kind) const override;
    QAccessible::State state() const override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;

private:
    ChoiceTile* tile() const;
};

} // namespace kestrum
