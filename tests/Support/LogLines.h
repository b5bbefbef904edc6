// SPDX-License-Identifier: MIT
#pragma once

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QString>

namespace kestrum {

/// The lines of a log to which programs append, counted by kind: lines that differ in long numbers only are of one kind.
class LogLines {
public:
    using Counts = QMap<QString, int>;

    explicit LogLines(const QString& path)
        : m_file(path)
    {
    }

    /// Counts the lines that have come since the last call.
    Counts takeNew()
    {
        Counts counts;
        if (!m_file.isOpen() && !m_file.open(QIODevice::ReadOnly))
            return counts;
        static const QRegularExpression number(QStringLiteral("[0-9]{2,}"));
        // A line of which only a part is there is left for the next time.
        while (m_file.seek(m_place)) {
            const QByteArray line = m_file.readLine();
            if (!line.endsWith('\n'))
                break;
            m_place = m_file.pos();
            ++counts[QString::fromUtf8(line.trimmed()).replace(number, QStringLiteral("N"))];
        }
        return counts;
    }

private:
    QFile m_file;
    qint64 m_place = 0;
};

} // namespace kestrum
