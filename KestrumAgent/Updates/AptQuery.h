// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTimer>
#include <chrono>

namespace kestrum {

/// One question to APT: which versions of a package it knows. It is answered from this machine's lists, by a process that
/// needs neither rights nor the network and is killed when it takes too long or prints too much.
class AptQuery final : public QObject {
    Q_OBJECT
public:
    AptQuery(const QString& package, std::chrono::milliseconds timeLimit, QObject* parent = nullptr);
    ~AptQuery() override;

    /// The path of the program; empty when this machine has none.
    static QString program();

    /// Starts the program. One of the signals follows, from the event loop. Called once.
    void start();

Q_SIGNALS:
    /// The text of "apt-cache policy", in the C locale.
    void answered(const QByteArray& text);
    /// `reason` is for people: APT's own complaint, or in the interface language why there is no answer.
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
