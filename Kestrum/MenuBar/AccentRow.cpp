// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/AccentRow.h"

#include "Kestrum/Form/Binding.h"
#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/Title.h"
#include "KestrumShared/Vocabulary/AccentSwatch.h"

#include <QIconEngine>
#include <QPainter>
#include <utility>

namespace kestrum {

namespace {

using namespace std::chrono_literals;

constexpr auto pauseTime = 100ms;

using Swatch = std::function<QImage(double scale)>;

/// Draws a swatch only when the icon is shown, because most swatches are in a list that is rarely opened. The swatch is sharp at
/// every scale.
class SwatchEngine final : public QIconEngine {
public:
    explicit SwatchEngine(Swatch swatch)
        : m_swatch(std::move(swatch))
    {
    }

private:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override
    {
        const double scale = painter->deviceTransform().m11() * rect.width() / Theme::pictureSize;
        painter->drawImage(rect, m_swatch(scale));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new SwatchEngine(m_swatch); }

    Swatch m_swatch;
};

} // namespace

AccentRow::AccentRow(const QString& title, const QString& subject, const UnregisteredKey<MeterAccent>& key)
    : Row(title, new PopupPicker)
    , m_stored(key, MeterAccent::fallback)
    , m_picker(static_cast<PopupPicker*>(control()))
    , m_well(new ColourWell)
{
    m_picker->setObjectName(QLatin1StringView(key.name));
    for (const MeterAccent& preset : MeterAccent::presets())
        m_picker->addEntry(kestrum::title(preset), QIcon(new SwatchEngine([preset](double scale) {
            return AccentSwatch::image(preset, Theme::pictureSize, scale);
        })));
    m_picker->addDivider();
    m_picker->addEntry(AppLanguage::string("Custom"));
    m_well->setAccessibleName(AppLanguage::string("%@ custom colour", { title }));
    m_well->setDialogTitle(AppLanguage::string("%@ colour", { subject }));
    setCompanion(m_well);

    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    m_pause.setInterval(pauseTime);
    connect(&m_pause, &QTimer::timeout, this, [this] { store(*m_draft); });
    connect(m_picker, &PopupPicker::chosen, this, &AccentRow::choose);
    connect(m_well, &ColourWell::picked, this, &AccentRow::drag);
    follow(Binding(m_stored), this, [this] { showAccent(); });
}

AccentRow::~AccentRow()
{
    if (m_draft)
        m_stored.set(*m_draft);
}

MeterAccent AccentRow::accent() const
{
    return m_draft.value_or(m_stored.value());
}

void AccentRow::showAccent()
{
    const MeterAccent accent = this->accent();
    const auto& presets = MeterAccent::presets();
    const bool isCustom = accent.isCustom();
    if (m_shown != accent) {
        m_shown = accent;
        const auto swatch
            = [accent](double scale) { return AccentSwatch::drawn(accent, Theme::pictureSize, scale); };
        m_picker->setItemIcon(m_picker->count() - 1, isCustom ? QIcon(new SwatchEngine(swatch)) : QIcon());
    }
    m_picker->setIndex(int(isCustom ? presets.size() : presets.indexOf(accent)));
    // Move the focus first: it would be lost when the well is hidden below.
    if (!isCustom && window()->focusWidget() == m_well)
        m_picker->setFocus();
    m_well->setColour(accent.color());
    m_well->setVisible(isCustom);
}

void AccentRow::choose(int index)
{
    // "Custom" starts from the current colour.
    const auto& presets = MeterAccent::presets();
    store(index < presets.size() ? presets[index] : MeterAccent::custom(accent().color()));
}

void AccentRow::drag(const QColor& colour)
{
    m_draft = MeterAccent::custom(colour);
    m_pause.start();
    showAccent();
}

void AccentRow::store(const MeterAccent& accent)
{
    m_pause.stop();
    m_draft.reset();
    m_stored.set(accent);
    showAccent(); // shows the stored accent again if the save failed
}

} // namespace kestrum
