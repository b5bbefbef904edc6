// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/UpdateOfferRow.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/ShrinkingLabel.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/BundleVersion.h"
#include "KestrumShared/Text/UpdateOffer.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QPainter>
#include <QShowEvent>
#include <QVBoxLayout>
#include <cmath>

namespace kestrum {

namespace {

constexpr int stripHeight = 52;
constexpr int stripPadding = 10; // left and right of the contents
constexpr int itemGap = 6;       // small: the sidebar is narrow
constexpr int lineGap = 1;
constexpr double symbolPoints = 13; // the size of body text

class Divider final : public QWidget {
public:
    Divider() { setFixedHeight(1); }

private:
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).fillRect(rect(), Theme::colour(Theme::Colour::separator));
    }
};

class Symbol final : public QWidget {
public:
    Symbol()
    {
        const QSizeF size = SymbolImage::size(name(), symbolPoints);
        setFixedSize(int(std::ceil(size.width())), int(std::ceil(size.height())));
    }

private:
    static QString name() { return QStringLiteral("arrow.down.circle.fill"); }

    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.drawImage(QPointF(0, 0),
            SymbolImage::image(
                name(), symbolPoints, Theme::colour(Theme::Colour::offer), painter.deviceTransform().m11()));
    }
};

} // namespace

UpdateOfferRow::UpdateOfferRow(QWidget* parent)
    : QWidget(parent)
    , m_content(new QWidget(this))
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    // While the content is hidden, the layout is empty: this widget then takes no space, but still gets its show event.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_content);

    auto* content = new QVBoxLayout(m_content);
    content->setContentsMargins(0, 0, 0, 0);
    content->setSpacing(0);
    content->addWidget(new Divider);
    content->addWidget(makeStrip());
    m_content->hide();
}

QWidget* UpdateOfferRow::makeStrip()
{
    auto* strip = new QWidget;
    // Only a minimum: with large desktop fonts the strip is higher.
    strip->setMinimumHeight(stripHeight);
    strip->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    auto* title = new ShrinkingLabel(Theme::TextStyle::callout, Theme::Colour::text);
    title->setText(AppLanguage::string("Update available"));
    title->setMayWrap(true);
    m_version = new ShrinkingLabel(Theme::TextStyle::caption, Theme::Colour::sidebarSecondaryText);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(lineGap);
    texts->addStretch();
    texts->addWidget(title);
    texts->addWidget(m_version);
    texts->addStretch();

    auto* button = new PushButton(AppLanguage::string("Install"));
    connect(button, &PushButton::clicked, this, [] {
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        SharedSettings::post(SharedSettings::Signal::checkForUpdates);
    });

    auto* items = new QHBoxLayout(strip);
    items->setContentsMargins(stripPadding, 0, stripPadding, 0);
    items->setSpacing(itemGap);
    items->addWidget(new Symbol, 0, Qt::AlignVCenter);
    items->addLayout(texts, 1);
    items->addWidget(button, 0, Qt::AlignVCenter);
    return strip;
}

void UpdateOfferRow::read()
{
    m_offer = UpdateOffer::standing(
        SharedSettings::store().string(Keys::updatesAvailable.name), BundleVersion::text());
    m_version->setText(m_offer.value_or(QString()));
    m_version->setVisible(!m_version->text().trimmed().isEmpty());
    m_content->setVisible(m_offer.has_value());
}

void UpdateOfferRow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // A spontaneous event comes from a minimised window that is restored.
    if (event->spontaneous())
        return;
    // Listen before the first read, so that no signal is missed.
    if (m_signals.tokens().isEmpty())
        m_signals.listen(SharedSettings::Signal::updateAvailable, [this] { read(); });
    read();
}

} // namespace kestrum
