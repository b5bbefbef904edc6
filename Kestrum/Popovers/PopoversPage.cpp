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

ChoiceTileRow* appearanceRow()
{
    auto* row = new ChoiceTileRow(AppLanguage::string("Appearance"));
    for (const auto& choice : choices<PopoverAppearance>()) {
        row->addTile(choice.title, [appearance = choice.value](QPainter& painter, const QPointF& topLeft) {
            drawAppearance(painter, topLeft, appearance);
        });
    }
    bind(row, Binding(Setting { Keys::popoverAppearance }), choices<PopoverAppearance>());
    return row;
}

ChoiceTileRow* backgroundRow()
{
    auto* row = new ChoiceTileRow(AppLanguage::string("Background"));
    for (const auto& choice : choices<PopoverBackground>()) {
        row->addTile(choice.title, [background = choice.value](QPainter& painter, const QPointF& topLeft) {
            drawMiniature(painter, topLeft, PopoversPage::previewScheme(), background);
        });
    }
    bind(row, Binding(Setting { Keys::popoverBackground }), choices<PopoverBackground>());
    return row;
}

} // namespace

PopoversPage::PopoversPage(QWidget* parent)
    : FormPage(parent)
{
    ChoiceTileRow* appearance = appearanceRow();
    ChoiceTileRow* background = backgroundRow();
    background->alignWith(*appearance);
    add(new Card({ appearance, background }));

    auto* soon = new Row(AppLanguage::string("Coming soon"));
    soon->setInk(Row::Ink::secondary);
    add(new Card("Themes", { soon }));

    // The pictures of each row also depend on the choice in the other row, and some of them on the window's scheme.
    for (ChoiceTileRow* row : { appearance, background }) {
        const auto redraw = [row] {
            for (ChoiceTile* tile : row->tiles())
                tile->update();
        };
        SharedSettings::store().observe(
            Keys::names(Keys::popoverAppearance, Keys::popoverBackground), row, redraw);
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
