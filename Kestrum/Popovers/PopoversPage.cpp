// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/PopoversPage.h"

#include "Kestrum/Form/ChoiceControl.h"
#include "Kestrum/Form/Row.h"
#include "Kestrum/Popovers/ChoiceTileRow.h"
#include "Kestrum/Popovers/LowerRightHalf.h"
#include "Kestrum/Popovers/PanelMiniature.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QGuiApplication>
#include <QPainter>

namespace kestrum {

namespace {

void drawMiniature(
    QPainter& painter, const QPointF& topLeft, ColourScheme scheme, PopoverBackground background)
{
    PanelMiniature { scheme, background }.draw(painter, topLeft, QGuiApplication::layoutDirection());
}

/// Draws a popover with `appearance` and the stored background.
void drawAppearance(QPainter& painter, const QPointF& topLeft, PopoverAppearance appearance)
{
    const PopoverBackground background = Setting { Keys::popoverBackground }.value();
    if (appearance != PopoverAppearance::system) {
        drawMiniature(painter, topLeft,
            appearance == PopoverAppearance::dark ? ColourScheme::dark : ColourScheme::light, background);
        return;
    }
    drawMiniature(painter, topLeft, ColourScheme::light, background);
    painter.save();
    painter.setClipPath(LowerRightHalf::path(QRectF(topLeft, PanelMiniature::size)), Qt::IntersectClip);
    drawMiniature(painter, topLeft, ColourScheme::dark, background);
    painter.restore();
}

/// Draws a popover with `background` in the colour scheme `previewScheme()`.
void drawBackground(QPainter& painter, const QPointF& topLeft, PopoverBackground background)
{
    drawMiniature(painter, topLeft, PopoversPage::previewScheme(), background);
}

/// A row of tiles, one for each choice, that is bound to `key`. `draw` draws the picture of a choice.
template <class T>
ChoiceTileRow* tileRow(
    const char* title, const Key<T>& key, void (*draw)(QPainter& painter, const QPointF& topLeft, T value))
{
    auto* row = new ChoiceTileRow(AppLanguage::string(title));
    for (const auto& choice : choices<T>())
        row->addTile(choice.title, [draw, value = choice.value](QPainter& painter, const QPointF& topLeft) {
            draw(painter, topLeft, value);
        });
    bind(row, Binding(Setting { key }), choices<T>());
    return row;
}

} // namespace

PopoversPage::PopoversPage(QWidget* parent)
    : FormPage(parent)
{
    ChoiceTileRow* appearance = tileRow("Appearance", Keys::popoverAppearance, drawAppearance);
    ChoiceTileRow* background = tileRow("Background", Keys::popoverBackground, drawBackground);
    background->alignWith(*appearance);
    add(new Card({ appearance, background }));

    auto* soon = new Row(AppLanguage::string("Coming soon"));
    soon->setInk(Row::Ink::secondary);
    add(new Card("Themes", { soon }));

    // The pictures of each row also depend on the choice in the other row and on the memory's accent, and some pictures on the
    // window's scheme.
    for (ChoiceTileRow* row : { appearance, background }) {
        const auto redraw = [row] {
            for (ChoiceTile* tile : row->tiles())
                tile->update();
        };
        SharedSettings::store().observe(
            Keys::names(Keys::popoverAppearance, Keys::popoverBackground, Keys::memoryAccent), row, redraw);
        connect(&SystemAppearance::shared(), &SystemAppearance::changed, row, redraw);
    }
}

ColourScheme PopoversPage::previewScheme()
{
    switch (Setting { Keys::popoverAppearance }.value()) {
    case PopoverAppearance::light:
        return ColourScheme::light;
    case PopoverAppearance::dark:
        return ColourScheme::dark;
    case PopoverAppearance::system:
        break;
    }
    return SystemAppearance::shared().scheme();
}

} // namespace kestrum
