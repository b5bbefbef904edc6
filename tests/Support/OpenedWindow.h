#pragma once

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/VirtualDisplay.h"

#include <cmath>

namespace kestrum {

/// The open window of a fixture's settings application. Tests use the window by mouse and check its pixels. Places are relative
/// to the window, which is 640 by 520. The destructor ends the application.
class OpenedWindow {
public:
    /// Returns when the window has the focus and is painted.
    explicit OpenedWindow(const DesktopFixture& fixture, const QStringList& arguments = {})
        : m_fixture(fixture)
        , m_kestrum(Programs::started(fixture.program("Kestrum"), arguments))
        , m_window(DesktopFixture::windowOf(m_kestrum->processId()))
    {
        using Programs::patience;
        QVERIFY(!m_window.isEmpty()); // without a message: the program's own errors remain readable
        QTRY_VERIFY_WITH_TIMEOUT(isActive(), patience);
        QTRY_COMPARE_WITH_TIMEOUT(colour({ 2, 300 }), QColor(0xE9E9ED), patience);
    }
    ~OpenedWindow() { Programs::end(*m_kestrum); }
    Q_DISABLE_COPY_MOVE(OpenedWindow)

    QProcess& application() const { return *m_kestrum; }
    qint32 pid() const { return qint32(m_kestrum->processId()); }
    const QByteArray& id() const { return m_window; }
    bool isActive() const { return DesktopFixture::activeWindow() == m_window; }

    static void press(const char* keys) { VirtualDisplay::xdotool("key", words(keys)); }
    static void close() { press("ctrl+w"); }
    bool hasEnded() const { return m_kestrum->waitForFinished(Programs::patience); }

    void moveTo(QPoint place) const { DesktopFixture::moveTo(place, m_window); }
    void click(QPoint place) const { DesktopFixture::click(place, m_window); }
    void drag(QPoint from, QPoint to) const { DesktopFixture::drag(from, to, m_window); }

    QImage picture(const QRect& part) const { return DesktopFixture::picture(part, m_window); }
    QColor colour(QPoint place) const { return DesktopFixture::colour(place, m_window); }

    /// A picture of the plate with the strip, on the page "menuBar".
    QImage preview() const { return picture({ 225, 30, 390, 54 }); }
    /// The picture of the plate after the strip has appeared and stopped changing; null when that takes too long.
    QImage restingPreview() const
    {
        QImage last;
        int equal = 0;
        const bool isAtRest = QTest::qWaitFor(
            [&] {
                QTest::qWait(30);
                const QImage now = preview();
                equal = now == last && now.pixelColor(1, 1) == QColor(222, 222, 222) ? equal + 1 : 0;
                last = now;
                return equal >= 3;
            },
            Programs::patience);
        return isAtRest ? last : QImage();
    }

    /// The middle of a section's item in the preview's strip.
    QPoint item(const char* section) const
    {
        const DesktopFixture::Items items = m_fixture.items();
        const double left = stripRight - std::ceil(items.width);
        return { int(left + items.middles.value(QString::fromLatin1(section))), stripMiddle };
    }

private:
    // The x position of the strip's trailing end, and the y position of its middle.
    static constexpr int stripRight = 640 - 16 - 30;
    static constexpr int stripMiddle = 16 + 30 + 11;

    const DesktopFixture& m_fixture;
    std::unique_ptr<QProcess> m_kestrum;
    QByteArray m_window;
};

} // namespace kestrum
