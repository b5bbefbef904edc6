// SPDX-License-Identifier: MIT
#include "Kestrum/Form/Card.h"

#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <utility>

namespace kestrum {

/// The background of a card's contents and the hairlines between them.
class Card::Plate final : public QWidget {
public:
    Plate(Ground ground, QWidget* parent)
        : QWidget(parent)
        , m_ground(ground)
    {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
    }

private:
    void paintEvent(QPaintEvent*) override
    {
        if (m_ground == Ground::none)
            return;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(
            Theme::edgeColour(Theme::Colour::card, Theme::Colour::window, Theme::Colour::cardBorder));
        painter.setBrush(Theme::colour(Theme::Colour::card));
        painter.drawRoundedRect(
            QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Theme::cardRadius, Theme::cardRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
        bool isFirst = true;
        for (int i = 0; i < layout()->count(); ++i) {
            if (layout()->itemAt(i)->isEmpty() || std::exchange(isFirst, false))
                continue;
            const int top = layout()->itemAt(i)->geometry().top();
            painter.fillRect(Theme::rowInset, top, width() - 2 * Theme::rowInset, 1,
                Theme::colour(Theme::Colour::separator));
        }
    }

    Ground m_ground;
};

Card::Card(Ground ground, QWidget* parent)
    : QWidget(parent)
    , m_plate(new Plate(ground, this))
    , m_heading(new WrappedLabel(Theme::TextStyle::heading, {}, this))
    , m_footnote(new WrappedLabel(Theme::TextStyle::footnote, {}, this))
{
    groupForAssistance<Card>();
    m_heading->setContentsMargins(0, 0, 0, Theme::headingGap);
    m_footnote->setForegroundRole(QPalette::PlaceholderText);
    m_footnote->setContentsMargins(0, Theme::footnoteGap, 0, 0);
    m_heading->hide();
    m_footnote->hide();
    alignTexts();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_heading);
    layout->addWidget(m_plate);
    layout->addWidget(m_footnote);
    m_heading->lower(); // screen readers read children in their order: the heading must come first
}

Card::Card(const char* heading, std::initializer_list<QWidget*> contents)
    : Card(contents)
{
    setHeading(AppLanguage::string(heading));
}

Card::Card(std::initializer_list<QWidget*> contents)
    : Card()
{
    for (QWidget* content : contents)
        add(content);
}

void Card::setHeading(const QString& text)
{
    m_heading->setText(text);
    setAccessibleName(text);
    m_heading->setVisible(!text.isEmpty());
}

void Card::setFootnote(const QString& text)
{
    m_footnote->setText(text);
    m_footnote->setVisible(!text.isEmpty());
}

void Card::setHeader(WrappedLabel* header)
{
    delete std::exchange(m_heading, header);
    header->setContentsMargins(0, 0, 0, Theme::headingGap);
    static_cast<QVBoxLayout*>(layout())->insertWidget(0, header);
    header->lower(); // the heading must come first, as in the constructor
    setAccessibleName(header->text());
    alignTexts();
}

void Card::add(QWidget* content)
{
    m_plate->layout()->addWidget(content);
}

void Card::alignTexts()
{
    // Align by the page's direction, not by the direction of each text: names such as "CPU" have Latin letters in every language.
    const Qt::Alignment side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    for (WrappedLabel* label : { m_heading, m_footnote })
        label->setAlignment(side | Qt::AlignVCenter | Qt::AlignAbsolute);
}

void Card::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange)
        alignTexts();
}

} // namespace kestrum
