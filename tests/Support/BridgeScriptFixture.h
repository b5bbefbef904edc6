// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/PanelServiceFixture.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace kestrum {

/// What the bridges in JavaScript share, in a process of its own, with the view of tests/Support/bridgeScript.js, at the real
/// service.
class BridgeScriptFixture : protected PanelServiceFixture {
protected:
    static constexpr int limit = 10'000; ///< ms
    static constexpr double scale = 2;   ///< of the bridge in tests/Support/bridgeScript.js

    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_bridge;

    /// The value of a script in the bridge; undefined if there is no answer.
    QJsonValue run(const QString& script)
    {
        m_bridge->write(script.toUtf8() + '\n');
        const auto isOver
            = [&] { return m_bridge->canReadLine() || m_bridge->state() == QProcess::NotRunning; };
        if (!QTest::qWaitFor(isOver, limit) || !m_bridge->canReadLine())
            return QJsonValue(QJsonValue::Undefined);
        return QJsonDocument::fromJson('[' + m_bridge->readLine() + ']').array().at(0);
    }
    QString text(const char* script) { return run(QLatin1StringView(script)).toString(); }
    bool becomes(const char* script)
    {
        const QString condition = QStringLiteral("Boolean(%1)").arg(QLatin1StringView(script));
        QJsonValue value;
        const auto isOver = [&] { return (value = run(condition)).isUndefined() || value.toBool(); };
        return QTest::qWaitFor(isOver, limit) && value.toBool();
    }
    /// Waits until the agent has handled all that the bridge has called, and the bridge has heard of it.
    bool isSettled()
    {
        run(QStringLiteral("view.isAnswered = false; agent.actions('', () => (view.isAnswered = true));"));
        return becomes("view.isAnswered");
    }
    static QString sum(const QImage& image)
    {
        const QImage pixels = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        return QString::fromLatin1(QCryptographicHash::hash(
            QByteArrayView(pixels.constBits(), pixels.sizeInBytes()), QCryptographicHash::Sha1)
                                       .toHex());
    }

    void joinScripts()
    {
        startBus();
        QFile joined(m_folder.filePath(QStringLiteral("bridge.js")));
        QVERIFY(joined.open(QIODevice::WriteOnly));
        for (const char* script : { "tests/Support/bridgeScript.js", "bridges/common/panelAgent.js",
                 "bridges/common/panelPopover.js", "bridges/common/panelPicture.js" }) {
            QFile part(qEnvironmentVariable("KESTRUM_SOURCE") + u'/' + QLatin1StringView(script));
            QVERIFY2(part.open(QIODevice::ReadOnly), script);
            joined.write(part.readAll());
        }
        joined.write("main();\n");
    }
    void startBridge()
    {
        setUp();
        m_bridge = std::make_unique<QProcess>();
        m_bridge->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_bridge->start(QStringLiteral("gjs"), { m_folder.filePath(QStringLiteral("bridge.js")) });
        QVERIFY2(m_bridge->waitForStarted(), "gjs is needed");
        QVERIFY(becomes("view.items.length === 4"));
    }
    void endBridge()
    {
        m_bridge->closeWriteChannel();
        QVERIFY(QTest::qWaitFor([&] { return m_bridge->state() == QProcess::NotRunning; }, limit));
        QCOMPARE(m_bridge->exitStatus(), QProcess::NormalExit);
        m_bridge.reset();
        tearDown();
    }
};

} // namespace kestrum
