// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QStringList>
#include <algorithm>
#include <optional>

namespace kestrum {

/// What a settings file must say, by the answers to the writes of one process, which works them off one after the other. The
/// write of a value is a line "KEY [VALUE]", and the removal of a key is a line "KEY".
class ToldSettings {
public:
    /// By key, all values that may be stored; `nullopt` stands for none. Of a missing key nothing is known.
    using Possible = QMap<QString, QList<std::optional<QJsonValue>>>;

    int stored = 0; ///< writes that were acknowledged
    int failed = 0; ///< writes that were refused

    void ask(const QByteArray& line)
    {
        const qsizetype blank = line.indexOf(' ');
        const QString key = QString::fromUtf8(blank < 0 ? line : line.left(blank));
        m_pending.append({ key,
            blank < 0 ? std::nullopt
                      : std::optional(QJsonDocument::fromJson(line.mid(blank)).array().first()) });
    }
    /// The writes that are not answered yet.
    qsizetype pending() const { return m_pending.size(); }

    /// The oldest write was answered. What failed may have been stored all the same.
    void answer(bool isStored)
    {
        const Write write = m_pending.takeFirst();
        ++(isStored ? stored : failed);
        if (write.isElsewhere)
            m_possible.remove(write.key);
        else if (isStored)
            m_possible[write.key] = { write.value };
        else if (m_possible.contains(write.key) && !m_possible[write.key].contains(write.value))
            m_possible[write.key].append(write.value);
    }

    /// What is known of the file, except for what is being written.
    Possible known() const
    {
        Possible known = m_possible;
        for (const Write& write : m_pending)
            known.remove(write.key);
        return known;
    }
    /// Another file, of which this is known, takes the place of the one before. Writes that are under way may go to either.
    void replace(const Possible& known)
    {
        m_possible = known;
        for (Write& write : m_pending) {
            m_possible.remove(write.key);
            write.isElsewhere = true;
        }
    }

    /// How the file's values contradict what was told; empty if they do not.
    QString contradiction(const QJsonObject& values) const
    {
        QStringList found;
        for (auto known = m_possible.begin(); known != m_possible.end(); ++known) {
            const bool isThere = values.contains(known.key());
            const auto isTold = [&](const std::optional<QJsonValue>& told) {
                return told ? isThere && *told == values.value(known.key()) : !isThere;
            };
            if (std::none_of(known->begin(), known->end(), isTold))
                found.append(
                    QStringLiteral("%1 is %2, but %3 values are told, the last %4")
                        .arg(known.key(),
                            written(isThere ? std::optional(values.value(known.key())) : std::nullopt))
                        .arg(known->size())
                        .arg(written(known->last())));
        }
        return found.join(QStringLiteral("; "));
    }

private:
    struct Write {
        QString key;
        std::optional<QJsonValue> value;
        bool isElsewhere = false; ///< perhaps not in the present file
    };

    static QString written(const std::optional<QJsonValue>& value)
    {
        return value ? QString::fromUtf8(QJsonDocument(QJsonArray { *value }).toJson(QJsonDocument::Compact))
                     : QStringLiteral("absent");
    }

    Possible m_possible;
    QList<Write> m_pending;
};

} // namespace kestrum
