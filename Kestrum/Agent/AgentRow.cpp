// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/AgentRow.h"

#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Form/ShrinkingLabel.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Bundle/Bundle.h"

#include <QFile>
#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>

namespace kestrum {

namespace {

constexpr int rowHeight = 52;
constexpr int padding = 10;
constexpr int spacing = 8;
constexpr int textSpacing = 1;
constexpr int pictureSize = 35;
constexpr int pictureRise = 2; ///< how far the picture is above the row's middle

} // namespace

AgentRow::AgentRow(AgentController& controller, QWidget* parent)
    : QWidget(parent)
    , m_state(new ShrinkingLabel(Theme::TextStyle::caption, Theme::Colour::sidebarSecondaryText))
    , m_switch(new Switch(Switch::Size::small))
{
    setFixedHeight(rowHeight);
    const QString picture = Bundle::main().resourcePath() + QStringLiteral("/SidebarSignal.svg");
    if (QFile::exists(picture))
        m_picture.load(picture);
    m_picture.setAspectRatioMode(Qt::KeepAspectRatio);
    m_switch->setAccessibleName(AppLanguage::string("Kestrum menu bar"));

    // The program's name is the same in every language.
    auto* name = new ShrinkingLabel(Theme::TextStyle::callout, Theme::Colour::text);
    name->setText(QStringLiteral("Kestrum"));
    auto* texts = new QVBoxLayout;
    texts->setSpacing(textSpacing);
    texts->addStretch();
    texts->addWidget(name);
    texts->addWidget(m_state);
    texts->addStretch();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(padding, 0, padding, 0);
    layout->setSpacing(0);
    // The row paints the picture in this space. Assistive programs would find a widget, but must ignore this decoration.
    layout->addSpacing(pictureSize + spacing);
    layout->addLayout(texts, 1);
    // Twice the spacing, as if there were an empty item between the texts and the switch.
    layout->addSpacing(2 * spacing);
    layout->addWidget(m_switch);

    showState(controller.isRunning());
    connect(&controller, &AgentController::isRunningChanged, this, &AgentRow::showState);
    // Do not connect `clicked`, which assistive programs do not trigger.
    connect(m_switch, &Switch::toggled, &controller, &AgentController::setEnabled);
}

void AgentRow::showState(bool isRunning)
{
    m_state->setText(AppLanguage::string(isRunning ? "On" : "Off"));
    m_switch->follow(isRunning);
}

QRectF AgentRow::pictureRect() const
{
    const QRect place(padding, 0, pictureSize, pictureSize);
    const double middle = (rowHeight - pictureSize) / 2.0;
    // The picture is on a whole pixel, so that its edges are sharp.
    const double scale = devicePixelRatioF();
    return QRectF(QStyle::visualRect(layoutDirection(), rect(), place))
        .translated(0, qRound((middle - pictureRise) * scale) / scale);
}

void AgentRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (m_picture.isValid())
        m_picture.render(&painter, pictureRect());
}

} // namespace kestrum
