// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/Amounts.h"
#include "KestrumShared/Popover/ColumnRow.h"
#include "KestrumShared/Popover/PopoverPanel.h"
#include "KestrumShared/Popover/SectionTitle.h"
#include "KestrumShared/Settings/Keys.h"

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace kestrum {

/// What the panels of the four sections are made of, and the parts that several of them have. Each of the panels is defined in its
/// own file.
class SectionPanel {
public:
    SectionPanel(const PopoverReadings& readings, const PopoverState& state, const SettingsSnapshot& settings,
        const PanelEnvironment& environment);

    PopoverPanel cpu() const;
    PopoverPanel memory() const;
    PopoverPanel disk() const;
    PopoverPanel sensors() const;

private:
    QString sensorsHeader() const;
    QString deviceName(const SensorDevice& device) const;
    double nowWidth() const; ///< of the last column of temperatures and fans
    // The rows of a section below its title; only the title if there is nothing to show.
    QList<PanelPart> temperatureRows() const;
    QList<PanelPart> fanRows() const;
    QList<PanelPart> powerRows() const;
    QList<PanelPart> batteryRows() const;

    PanelPart header(MonitorSection section, const QString& value) const;

    /// An accent that can be seen on the panel's ground.
    QColor accent(const UnregisteredKey<MeterAccent>& key) const;
    /// A colour that is well apart from `colour`, for another value in the same graph: darker in the light scheme and lighter in
    /// the dark one.
    QColor counterpart(const QColor& colour) const;
    /// `strength` of a colour on the panel's ground, 0…1.
    QColor weakened(const QColor& colour, double strength) const;
    /// The warning colour of a temperature; nothing for a temperature that is not high.
    std::optional<QColor> heat(double celsius) const;

    /// The width of a column that has room for its head and for each of `values`, and is at least `least`.
    double columnWidth(const QString& head, const QStringList& values, double least) const;

    SectionTitle appsTitle(const QList<SectionTitle::Head>& heads) const;
    /// The first apps, one row each, and blank rows for those that are missing: the panel's height never depends on the apps.
    static QList<PanelPart> appRows(
        const QList<AppUse>& apps, int count, const std::function<ColumnRow(const AppUse&)>& row);
    static QString name(const AppUse& app);

    static ColumnRow valueRow(
        const QString& title, const QString& value, std::optional<QColor> dot = std::nullopt);
    static ColumnRow dimmedRow(const QString& title, const QString& value);
    /// The rows for the CPU's power: none, a number, or the reason why there is none.
    QList<PanelPart> cpuPowerRows(
        const QString& title, const RowValue<double>& watts, PowerAccess access) const;
    /// Whether the panel explains why the CPU's power is not shown. The explanation is in place of the rows below.
    bool explainsPower(const RowValue<double>& watts, PowerAccess access) const;

    /// Bars that warn, before they are made readable on the ground.
    static constexpr QColor amberBar { 0xF5, 0xA6, 0x23 };
    static constexpr QColor redBar { 0xE5, 0x39, 0x35 };

    const PopoverReadings& m_readings;
    const PopoverState& m_state;
    const SettingsSnapshot& m_settings;
    const PanelEnvironment& m_environment;
    Amounts m_amounts;
};

} // namespace kestrum
