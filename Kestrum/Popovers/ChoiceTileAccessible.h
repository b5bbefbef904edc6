#pragma once

#include <QAccessibleWidget>

namespace kestrum {

class ChoiceTile;

/// A tile as assistive programs meet it: a button that can be pressed, and that is selected or not.
class ChoiceTileAccessible final : public QAccessibleWidget {
public:
    /// Makes this the interface of every tile, and each row of tiles a group; further calls change nothing.
    static void install();
    /// Says that `tile` was selected, or is not any more.
    static void tellSelection(ChoiceTile* tile);

    explicit ChoiceTileAccessible(ChoiceTile* tile);

    QString text(QAccessible::Text kind) const override;
    QAccessible::State state() const override;
    QStringList actionNames() const override;
    void doAction(const QString& name) override;

private:
    ChoiceTile* tile() const;
};

} // namespace kestrum
