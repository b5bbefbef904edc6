// Strips on all screens of an X display, and how they come and go.

#include "KestrumAgent/Panel/PanelChannels.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/StartingManager.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"
#include "tests/Support/VirtualDisplay.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <QWindow>

using namespace kestrum;

namespace {

constexpr auto whole = "1000/1000x800/800+0+0";
constexpr auto leftPart = "400/400x800/800+0+0";

/// Further screens of the display, until the object goes.
class MoreScreens {
public:
    /// `places` are as xrandr takes them, such as "600/600x800/800+0+0". The first is the main screen's.
    explicit MoreScreens(std::initializer_list<const char*> places)
    {
        for (const char* place : places) {
            const bool isMain = m_names.isEmpty();
            m_names.append(text("part-%1").arg(m_names.size()));
            Programs::output(text("xrandr"),
                { text("--setmonitor"), text(isMain ? "*" : "") + m_names.last(), text(place),
                    text(isMain ? "screen" : "none") });
        }
        m_areThere = QTest::qWaitFor([this] { return QGuiApplication::screens().size() == m_names.size(); });
    }
    ~MoreScreens()
    {
        for (const QString& name : std::as_const(m_names))
            Programs::output(text("xrandr"), { text("--delmonitor"), name });
        (void)QTest::qWaitFor([] { return QGuiApplication::screens().size() == 1; });
    }
    Q_DISABLE_COPY_MOVE(MoreScreens)

    bool areThere() const { return m_areThere; }

private:
    QStringList m_names;
    bool m_areThere = false;
};

/// The strips on other screens than the main one.
QList<PanelStrip*> furtherStrips(const PanelStrip& main)
{
    QList<PanelStrip*> all;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* const strip = qobject_cast<PanelStrip*>(window);
        if (strip && strip != &main)
            all.append(strip);
    }
    return all;
}

} // namespace

class FurtherStripsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<PanelChannels> m_channels;

    static bool isOnScreen(const PanelStrip& strip)
    {
        return strip.windowHandle() && strip.windowHandle()->isExposed();
    }
    /// The main strip is there, and the others have had the time to come.
    bool isShown() const
    {
        return QTest::qWaitFor([this] { return isOnScreen(*m_strip); });
    }
    QList<PanelStrip*> further() const { return furtherStrips(*m_strip); }
    void showOnAllScreens() { Setting(Keys::stripScreens, QString()).set(text("all")); }

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        m_strip = std::make_unique<PanelStrip>(std::make_shared<FakeReadings>());
        m_menu = std::make_unique<QMenu>();
        m_channels = std::make_unique<PanelChannels>(*m_strip, *m_menu);
    }
    void cleanup()
    {
        m_channels.reset();
        m_menu.reset();
        m_strip.reset();
    }

    void aWindowManagerThatIsOnlyStartingMayLoseOne()
    {
        const MoreScreens two { leftPart, "600/600x800/800+400+0" };
        QVERIFY(two.areThere());
        m_channels->start();
        QVERIFY(isShown());
        auto manager = std::make_optional<StartingManager>();
        showOnAllScreens();
        QTRY_COMPARE(further().size(), 1);
        QTest::qWait(quietTime);
        QVERIFY(!isOnScreen(*further().first()));
        manager.reset();
        QTRY_VERIFY_WITH_TIMEOUT(isOnScreen(*further().first()), 3000);
        QVERIFY(isOnScreen(*m_strip)); // it was never away
    }

    void screensThatShowTheSameHaveOne_data()
    {
        QTest::addColumn<QByteArray>("other");
        QTest::newRow("the same") << QByteArray(whole);
        QTest::newRow("a part") << QByteArray("600/600x800/800+400+0");
    }
    void screensThatShowTheSameHaveOne()
    {
        QFETCH(const QByteArray, other);
        const MoreScreens two { whole, other.constData() };
        QVERIFY(two.areThere());
        showOnAllScreens();
        m_channels->start();
        QVERIFY(isShown());
        QTest::qWait(quietTime);
        QVERIFY(further().isEmpty());
    }

    void aScreenReaderTellsThemApart()
    {
        const MoreScreens three { leftPart, "300/300x800/800+400+0", "300/300x800/800+700+0" };
        QVERIFY(three.areThere());
        showOnAllScreens();
        m_channels->start();
        QTRY_COMPARE(further().size(), 2);
        const auto name = [](QWidget* strip) {
            return QAccessible::queryAccessibleInterface(strip)->text(QAccessible::Name);
        };
        QStringList names;
        for (PanelStrip* strip : further())
            names.append(name(strip));
        names.sort();
        QCOMPARE(names, QStringList({ text("Menu bar items, part-1"), text("Menu bar items, part-2") }));
        QCOMPARE(name(m_strip.get()), text("Menu bar items"));
    }
};

KESTRUM_TEST_MAIN_OF(FurtherStripsTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    FurtherStripsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FurtherStripsTest.moc"
