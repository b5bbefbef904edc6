// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Text/ByteText.h"
#include "KestrumShared/Text/Units.h"
#include "Platform/Store/SettingsSnapshot.h"

#include <QString>
#include <array>
#include <chrono>

namespace kestrum {

/// The texts of the numbers in popovers, in the interface language. The texts of a value that changes have a fixed number of
/// decimals. Numbers that are not finite count as 0, and so do negative ones, except temperatures.
class Amounts {
public:
    /// For the interface language, the session's region and the chosen unit of temperatures.
    Amounts();
    /// The same with the unit that `settings` choose.
    explicit Amounts(const SettingsSnapshot& settings);

    /// A fraction as a whole number: "49 %", with a blank that does not break.
    QString percent(double fraction) const;
    /// Bytes of memory, and of volumes: "6.75 GB", "69.4 GB".
    QString memory(double bytes) const;
    QString space(double bytes) const;
    /// An amount of memory that does not change: "16 GB".
    QString wholeMemory(double bytes) const;
    /// Bytes per second: "12.4 MB/s".
    QString rate(double bytesPerSecond) const;
    /// The same without zeros at the end, for a scale: "200 MB/s".
    QString scale(double bytesPerSecond) const;
    /// Whole degrees: "48°C".
    QString temperature(double celsius) const;
    QString watts(double watts) const; ///< "12 W"
    QString clock(double hertz) const; ///< "3.42 GHz"
    /// A whole number with separators: "2,310".
    QString count(double number) const;
    /// A number with `decimals` decimals: "3.9".
    QString number(double number, int decimals) const;
    /// Days and hours, hours and minutes, or minutes; what is 0 after the first is left out: "3 d 4 h". Rounded down.
    QString duration(std::chrono::seconds time) const;
    /// An estimate, rounded to 5 minutes from one hour on: "3 h 10 min".
    QString estimate(std::chrono::minutes time) const;
    /// Minutes and seconds: "1:47".
    QString age(double seconds) const;
    /// The time of today, or the date of another day.
    QString moment(std::chrono::system_clock::time_point time) const;

    /// What stands in place of a number that is not known.
    static QString lost() { return QStringLiteral("–"); }

private:
    QString rate(const QString& bytes) const;

    QString m_language;
    QString m_region;
    Units::TemperatureUnit m_unit;
    ByteText::Style m_memory { ByteText::Counting::memory, m_language, m_region };
    ByteText::Style m_file { ByteText::Counting::file, m_language, m_region };
};

} // namespace kestrum
