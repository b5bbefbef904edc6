#include "tests/Support/PanelTest.h"

#include <QScreen>

namespace kestrum {

using Programs::patience;

void PanelTest::startPanel()
{
    m_panel = Programs::started(
        QStringLiteral("tint2"), { QStringLiteral("-c"), TestHome::root() + QStringLiteral("/tint2rc") });
    QTRY_COMPARE_WITH_TIMEOUT(
        QGuiApplication::primaryScreen()->availableGeometry().top(), panelHeight, patience);
}

void PanelTest::startAgent(const QStringList& arguments, Wait wait)
{
    m_agent = Programs::started(fixture().agentProgram(), arguments);
    if (wait == Wait::forStrip)
        waitForStrip();
}

void PanelTest::waitForStrip(int top) const
{
    QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::stripWidth(top), fixture().expectedStripWidth(), patience);
}

void PanelTest::waitForNoStrip()
{
    QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::stripWidth(panelHeight), 0, patience);
}

QPoint PanelTest::place(const char* section) const
{
    const double left
        = VirtualDisplay::width - fixture().expectedStripWidth() + DesktopFixture::stripSideRoom;
    return { int(left + fixture().items().middles.value(QString::fromLatin1(section))),
        panelHeight + DesktopFixture::stripHeight / 2 };
}

void PanelTest::furnish()
{
    QFile file(TestHome::root() + QStringLiteral("/tint2rc"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("panel_items = E\npanel_size = 100% 30\npanel_position = top center horizontal\n"
               "strut_policy = follow_size\n");
    file.close();
    startPanel();
}

void PanelTest::clear()
{
    Programs::end(*m_panel);
}

void PanelTest::init()
{
    DesktopFixture::forgetChoices();
    // The interval is so long that only a change of the settings repaints during a test.
    fixture().write("refreshInterval", "60");
    DesktopFixture::moveTo({ 100, 500 });
    startAgent();
}

void PanelTest::cleanup()
{
    Programs::end(*m_agent);
    m_agent.reset();
}

} // namespace kestrum
