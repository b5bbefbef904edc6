// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/SectionPanel.h"

#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/PanelDivider.h"
#include "KestrumShared/Popover/PanelNote.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverHeader.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Bundle/Bundle.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

constexpr double counterpartStrength = 0.6;
constexpr int headSize = 10; ///< of the font of columns' heads
constexpr double columnGap = 8;
constexpr double noteWidth = PopoverPanel::width - 2 * DenseSection::sidePadding;

// Lets all programs read the processor's power, now and after each start of the machine. The rule is part of the bundle; for
// programs outside of a bundle, it is where packages put it.
QString powerCommand()
{
    const QString rule = QStringLiteral("kestrum-powercap.conf");
    QString path = QFileInfo(Bundle::main().resourcePath() + u'/' + rule).canonicalFilePath();
    if (path.isEmpty())
        path = QStringLiteral("/usr/share/doc/kestrum/") + rule;
    static const QRegularExpression special(QStringLiteral("[^\\w/.+-]"));
    if (path.contains(special))
        path = u'\'' + path.replace(u'\'', QLatin1StringView("'\\''")) + u'\'';
    return QStringLiteral("sudo install -m 644 %1 /etc/tmpfiles.d/ && sudo systemd-tmpfiles --create %2")
        .arg(path, rule);
}

QString sectionTitle(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return AppLanguage::string("CPU");
    case MonitorSection::memory:
        return AppLanguage::string("Memory");
    case MonitorSection::storage:
        return AppLanguage::string("Disk");
    case MonitorSection::sensors:
        return AppLanguage::string("Sensors");
    }
    return {};
}

QString sectionIcon(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return QStringLiteral("cpu");
    case MonitorSection::memory:
        return QStringLiteral("memorychip");
    case MonitorSection::storage:
        return QStringLiteral("internaldrive");
    case MonitorSection::sensors:
        return QStringLiteral("sensor");
    }
    return {};
}

QColor mixed(const QColor& colour, const QColor& other, double share)
{
    const auto channel = [share](float one, float two) { return float(one * share + two * (1 - share)); };
    return QColor::fromRgbF(channel(colour.redF(), other.redF()), channel(colour.greenF(), other.greenF()),
        channel(colour.blueF(), other.blueF()));
}

} // namespace

SectionPanel::SectionPanel(const PopoverReadings& readings, const PopoverState& state,
    const SettingsSnapshot& settings, const PanelEnvironment& environment)
    : m_readings(readings)
    , m_state(state)
    , m_settings(settings)
    , m_environment(environment)
    , m_amounts(settings)
{
}

PanelPart SectionPanel::header(MonitorSection section, const QString& value) const
{
    PopoverHeader header;
    header.title = sectionTitle(section);
    header.icon = sectionIcon(section);
    header.value = value;
    header.isPinned = m_state.isPinned;
    header.hasPin = m_state.hasPin;
    if (m_state.hasTabs) {
        for (const MonitorSection other : MeterSettings::storedOrder(m_settings)) {
            if (!MeterSettings::isShown(other, m_settings))
                continue;
            header.tabs.append({ sectionTitle(other), sectionIcon(other),
                { PanelAction::Kind::showSection, rawValue(other) }, other == section });
        }
    }
    return PanelStack { { header, PanelDivider {} } };
}

QColor SectionPanel::accent(const UnregisteredKey<MeterAccent>& key) const
{
    return m_environment.readable(MeterSettings::accent(key, m_settings).color());
}

QColor SectionPanel::counterpart(const QColor& colour) const
{
    return mixed(
        colour, m_environment.scheme == ColourScheme::dark ? Qt::white : Qt::black, counterpartStrength);
}

QColor SectionPanel::weakened(const QColor& colour, double strength) const
{
    return mixed(colour, m_environment.ground(), strength);
}

std::optional<QColor> SectionPanel::heat(double celsius) const
{
    return celsius >= HeatColour::amberFrom ? std::optional(HeatColour::of(celsius, m_environment.scheme))
                                            : std::nullopt;
}

// Words and units of some languages need more than the usual width. It does not depend on the present values, so that no
// column ever moves.
double SectionPanel::columnWidth(const QString& head, const QStringList& values, double least) const
{
    double width = QFontMetricsF(PanelEnvironment::systemFont(headSize)).horizontalAdvance(head);
    const QFontMetricsF metrics(m_environment.font);
    for (const QString& value : values)
        width = std::max(width, metrics.horizontalAdvance(value));
    return std::max(least, std::ceil(width + columnGap));
}

SectionTitle SectionPanel::appsTitle(const QList<SectionTitle::Head>& heads) const
{
    SectionTitle title { AppLanguage::string("APPS"), heads };
    if (m_state.hasSystemMonitor) {
        title.action = { PanelAction::Kind::openSystemMonitor };
        title.spoken = AppLanguage::string("Open System Monitor");
    }
    return title;
}

QList<PanelPart> SectionPanel::appRows(
    const QList<AppUse>& apps, int count, const std::function<ColumnRow(const AppUse&)>& row)
{
    QList<PanelPart> rows;
    for (int i = 0; i < count; ++i) {
        ColumnRow shown = i < apps.size() ? row(apps[i]) : ColumnRow {};
        shown.isRanked = true;
        rows.append(shown);
    }
    return rows;
}

QString SectionPanel::name(const AppUse& app)
{
    return app.name.isEmpty() ? AppLanguage::string("Kernel") : app.name;
}

ColumnRow SectionPanel::valueRow(const QString& title, const QString& value, std::optional<QColor> dot)
{
    ColumnRow row { title, { { value } } };
    row.colour = dot;
    row.isNameSecondary = true;
    return row;
}

ColumnRow SectionPanel::dimmedRow(const QString& title, const QString& value)
{
    ColumnRow row = valueRow(title, value);
    row.columns.first().isSecondary = true;
    return row;
}

bool SectionPanel::explainsPower(const RowValue<double>& watts, PowerAccess access) const
{
    return m_state.explainsPower && access == PowerAccess::denied && !watts.value;
}

QList<PanelPart> SectionPanel::cpuPowerRows(
    const QString& title, const RowValue<double>& watts, PowerAccess access) const
{
    if (watts.value)
        return { valueRow(title, m_amounts.watts(*watts.value)) };
    if (access != PowerAccess::denied)
        return watts.hasRow ? QList<PanelPart> { valueRow(title, Amounts::lost()) } : QList<PanelPart>();

    ColumnRow row = dimmedRow(title, AppLanguage::string("Needs permission"));
    row.action = { PanelAction::Kind::togglePowerHelp };
    QList<PanelPart> rows { row };
    if (explainsPower(watts, access)) {
        rows.append(PanelNote {
            AppLanguage::string(
                "Exact power readings can reveal secrets of other programs, so only root may read "
                "them. To allow them for all programs, type in a terminal:"),
            noteWidth });
        const QString command = powerCommand();
        rows.append(PanelNote { command, noteWidth, true, { PanelAction::Kind::copyText, command },
            AppLanguage::string("Copy") });
    }
    return rows;
}

} // namespace kestrum
