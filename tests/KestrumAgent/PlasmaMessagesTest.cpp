// What the widget believes of the agent's messages, as they come out of a real bus.

#include "KestrumAgent/Bridge/BridgeStand.h"
#include "bridges/plasma/plugin/PanelMessages.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QPainter>
#include <QTest>
#include <limits>

using namespace kestrum;

/// Keeps the last signal that came over the bus.
class HeardSignal : public QObject {
    Q_OBJECT
public:
    QDBusMessage last;

public Q_SLOTS:
    void hear(const QDBusMessage& message) { last = message; }
};

class PlasmaMessagesTest : public QObject {
    Q_OBJECT

    static constexpr auto hearingConnection = "plasma-hearing";
    static constexpr auto tellingConnection = "plasma-telling";

    std::unique_ptr<SessionBus> m_bus;
    HeardSignal m_heard;

    static QDBusConnection own() { return QDBusConnection(QString::fromLatin1(hearingConnection)); }
    static QDBusConnection stranger() { return QDBusConnection(QString::fromLatin1(tellingConnection)); }

    /// The message as it comes out of the bus; of another type than a signal if it does not come.
    QDBusMessage received(const char* name, const QVariantList& arguments)
    {
        m_heard.last = {};
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            own().baseService(), PanelContract::path, PanelContract::interface, QString::fromLatin1(name));
        message.setArguments(arguments);
        stranger().send(message);
        (void)QTest::qWaitFor([this] { return m_heard.last.type() == QDBusMessage::SignalMessage; }, 2000);
        return m_heard.last;
    }
    QDBusMessage itemsOf(const QList<PanelItem>& items)
    {
        return received("Items", { 1U, QVariant::fromValue(items) });
    }
    QDBusMessage popoverOf(QSize size, const QList<PanelBand>& bands)
    {
        const QString text = QStringLiteral("text");
        return received("Popover",
            { 1U, QStringLiteral("cpu"), text, text, size.width(), size.height(),
                QVariant::fromValue(bands) });
    }
    static PanelItem item(int width, int height, qsizetype bytes)
    {
        return { QStringLiteral("cpu"), 0, 20, QStringLiteral("CPU"), width, height,
            QByteArray(bytes, '\x7f') };
    }
    /// The image as it goes over the bus.
    static QImage pixels(const QImage& image)
    {
        QImage plain = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        plain.setDevicePixelRatio(1);
        return plain;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        PanelContract::registerTypes();
        for (const char* name : { hearingConnection, tellingConnection })
            QVERIFY(QDBusConnection::connectToBus(m_bus->address(), QString::fromLatin1(name)).isConnected());
        for (const char* name : { "Items", "Popover" })
            QVERIFY(own().connect(stranger().baseService(), PanelContract::path, PanelContract::interface,
                QString::fromLatin1(name), &m_heard, SLOT(hear(QDBusMessage))));
    }
    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QString::fromLatin1(hearingConnection));
        QDBusConnection::disconnectFromBus(QString::fromLatin1(tellingConnection));
    }

    void itemsThatMakeNoSenseAreRefused()
    {
        QVERIFY(PanelMessages::items(itemsOf({})));
        QVERIFY(PanelMessages::items(itemsOf({ item(2, 3, 24) })));
        QVERIFY(PanelMessages::items(itemsOf({ item(2, 3, 0) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 23) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 28) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(-2, -3, 24) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(0, 3, 0) })));
        // The product of these is small in 32 bits.
        QVERIFY(!PanelMessages::items(itemsOf({ item(1 << 16, 1 << 16, 0) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 24), item(2, 3, 24) })));
        PanelItem odd = item(2, 3, 24);
        odd.width = std::numeric_limits<double>::quiet_NaN();
        QVERIFY(!PanelMessages::items(itemsOf({ odd })));
        odd = item(2, 3, 24);
        odd.x = std::numeric_limits<double>::infinity();
        QVERIFY(!PanelMessages::items(itemsOf({ odd })));
        QList<PanelItem> many;
        for (int i = 0; i <= PanelMessages::mostItems; ++i) {
            many.append(item(1, 1, 4));
            many.last().id = QString::number(i);
        }
        QVERIFY(!PanelMessages::items(itemsOf(many)));
        QVERIFY(!PanelMessages::items(received("Items", { 1U, QStringLiteral("text") })));
        QVERIFY(!PanelMessages::items(received("Items", {})));
    }

    void bandsThatMakeNoSenseAreRefused()
    {
        const auto band = [](int top, int rows, qsizetype bytes) {
            return PanelBand { top, rows, QByteArray(bytes, '\x7f') };
        };
        const QSize size(2, 10);
        QVERIFY(PanelMessages::popover(popoverOf(size, { band(0, 10, 80) })));
        QVERIFY(PanelMessages::popover(popoverOf(size, { band(0, 1, 8), band(9, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 10, 79) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(1, 10, 80) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(-1, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 0, 0) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 3, 24), band(2, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(std::numeric_limits<int>::max(), 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf({ 0, 10 }, {})));
        QVERIFY(!PanelMessages::popover(popoverOf({ 1 << 16, 1 << 16 }, {})));
        QVERIFY(!PanelMessages::popover(received("Popover", { 1U })));

        // A part of a picture that is not there yet is none.
        QImage picture;
        QVERIFY(!PanelMessages::apply(*PanelMessages::popover(popoverOf(size, { band(0, 9, 72) })), picture));
        QVERIFY(picture.isNull());
    }

    void bandsMakeTheWholePicture()
    {
        QImage before(40, 60, QImage::Format_ARGB32_Premultiplied);
        before.fill(QColor(10, 20, 30, 255));
        QImage now = before;
        QPainter painter(&now);
        painter.fillRect(3, 2, 5, 4, Qt::red);
        painter.fillRect(20, 40, 9, 1, QColor(0, 255, 0, 255));
        painter.end();

        QImage shown;
        const QList<PanelBand> all = BridgeStand::bands(before, {});
        QVERIFY(PanelMessages::apply(*PanelMessages::popover(popoverOf(before.size(), all)), shown));
        QCOMPARE(shown, pixels(before));
        const QList<PanelBand> changed = BridgeStand::bands(now, before);
        QCOMPARE(changed.size(), 2);
        QVERIFY(PanelMessages::apply(*PanelMessages::popover(popoverOf(now.size(), changed)), shown));
        QCOMPARE(shown, pixels(now));
    }
};

KESTRUM_TEST_MAIN(QApplication, PlasmaMessagesTest)
#include "PlasmaMessagesTest.moc"
