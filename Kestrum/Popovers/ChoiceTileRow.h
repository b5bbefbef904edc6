// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/WrappedLabel.h"
#include "Kestrum/Popovers/ChoiceTile.h"

#include <QList>
#include <QWidget>

namespace kestrum {

/// A row of a card whose choices are tiles: a text at the leading edge and the tiles at the trailing edge. If text and tiles do
/// not fit side by side, the tiles are below the text, on as many lines as needed. For assistive programs the row is a group with
/// the text as its name.
class ChoiceTileRow final : public QWidget {
    Q_OBJECT
public:
    /// `text` is shown unchanged.
    explicit ChoiceTileRow(const QString& text, QWidget* parent = nullptr);

    /// Puts a tile at the trailing end; the row owns it.
    void addTile(const QString& title, ChoiceTile::Picture picture);
    const QList<ChoiceTile*>& tiles() const { return m_tiles; }

    /// Puts the tiles below the text also if the tiles of `other` are below their text. `other` outlives the row.
    void alignWith(const ChoiceTileRow& other) { m_other = &other; }

    /// The position of the selected tile, −1 for none.
    int index() const;
    /// Selects another tile without emitting `chosen`. −1 or a position that does not exist selects none.
    void setIndex(int index);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

Q_SIGNALS:
    /// The user chose the tile at `index`, which may be selected already.
    void chosen(int index);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Layout;
    /// The layout of a row that is `width` wide, for left-to-right text.
    Layout layoutFor(int width) const;
    bool fitsBeside(int width) const;
    int tilesWidth() const;
    void layOut();

    WrappedLabel* m_label;
    QList<ChoiceTile*> m_tiles;
    const ChoiceTileRow* m_other = nullptr;
};

} // namespace kestrum
