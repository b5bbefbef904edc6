// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTimer>
#include <chrono>

namespace kestrum {

/// Asks APT which versions of a package it knows, by running "apt-cache". That process only reads this machine's package
/// lists and needs neither privileges nor a network. It is killed if it takes too long or prints too much.
class AptQuery final : public QObject {
    Q_OBJECT
public:
    AptQuery(const QString& package, std::chrono::milliseconds timeLimit, QObject* parent = nullptr);
    ~AptQuery() override;

    /// The path of "apt-cache"; empty if this machine has none.
    static QString program();

    /// Starts "apt-cache". One of the two signals is emitted later, from the event loop. Must be called once only.
    void start();

Q_SIGNALS:
    /// `text` is the output of "apt-cache policy", in the C locale.
    void answered(const QByteArray& text);
    /// `reason` is for display: APT's own error message, or a text in the interface language.
    void failed(const QString& reason);

private:
    void collect();
    void abandon(const QString& reason);
    void conclude();

    QString m_package;
    QProcess m_process;
    QTimer m_limit;
    QByteArray m_answer;
    QByteArray m_complaints;
    QString m_whyAbandoned;
};

} // namespace kestrum
