// The built program, used by keyboard alone: on every page, Tab reaches every control in reading order.

#include "tests/Support/AccessTest.h"

using namespace kestrum;

using Programs::patience;
using State = Accessible::State;

class AccessKeyboardEndToEndTest : public AccessTest {
    Q_OBJECT

    static QStringList names(const QList<AccessWindow::Stop>& stops)
    {
        QStringList names;
        for (const AccessWindow::Stop& stop : stops)
            names.append(stop.name);
        return names;
    }

    /// The names of all stops that `key` reaches. The list begins at the current stop and ends when the focus is back there.
    QStringList round(const char* key) const
    {
        const AccessWindow::Stop first = window().focus();
        QList<AccessWindow::Stop> stops { first };
        constexpr int most = 60;
        while (stops.size() < most) {
            window().press(key);
            const AccessWindow::Stop next = window().focusAfter(stops.last());
            if (!next.control.isFound() || next.control == first.control)
                break;
            stops.append(next);
        }
        return names(stops);
    }

private Q_SLOTS:
    void eachPageIsReachedByItsKeys()
    {
        open("menuBar");
        const std::pair<const char*, const char*> pages[]
            = { { "ctrl+2", "Popovers" }, { "ctrl+3", "General" }, { "ctrl+1", "Menu Bar" } };
        for (const auto& [keys, page] : pages) {
            window().press(keys);
            QTRY_VERIFY_WITH_TIMEOUT(window().row(page).has(State::selected), patience);
        }
    }

    void eachPageIsReachedByTheArrowsInTheSidebar()
    {
        open("menuBar");
        QCOMPARE(window().focus().name, text("list Pages"));
        const std::tuple<const char*, const char*, QByteArray> steps[] = {
            { "Down", "Popovers", "\"popovers\"" },
            { "Down", "General", "\"general\"" },
            { "Up", "Popovers", "\"popovers\"" },
            { "Home", "Menu Bar", "\"menuBar\"" },
            { "End", "General", "\"general\"" },
        };
        for (const auto& [key, page, stored] : steps) {
            window().press(key);
            QTRY_VERIFY_WITH_TIMEOUT(window().row(page).has(State::selected), patience);
            QVERIFY(window().row(page).has(State::focused));
            QTRY_COMPARE_WITH_TIMEOUT(fixture().read("settingsPane"), stored, patience);
        }
    }

    void tabGoesInReadingOrderAndBack_data()
    {
        QTest::addColumn<QByteArray>("language");
        QTest::addColumn<QByteArray>("pane");
        QTest::addColumn<int>("least");
        QTest::newRow("menuBar") << QByteArray("en") << QByteArray("menuBar") << 16;
        QTest::newRow("popovers") << QByteArray("en") << QByteArray("popovers") << 7;
        QTest::newRow("general") << QByteArray("en") << QByteArray("general") << 6;
        QTest::newRow("menuBar, from the right") << QByteArray("ar") << QByteArray("menuBar") << 16;
        QTest::newRow("popovers, from the right") << QByteArray("ar") << QByteArray("popovers") << 7;
    }
    void tabGoesInReadingOrderAndBack()
    {
        QFETCH(const QByteArray, language);
        QFETCH(const QByteArray, pane);
        QFETCH(const int, least);
        open(pane.constData(), language.constData());
        if (pane == "menuBar") // this page has a colour well
            writeText("cpuAccent", "custom:srgb:0.2000,0.4000,0.6000");
        if (pane == "general")
            fixture().write("updaterCanCheck", "true");
        // Waits until the window shows the change.
        QTRY_VERIFY_WITH_TIMEOUT(window().readingOrder().size() >= least, patience);
        QStringList order = names(window().readingOrder());
        QCOMPARE(QSet<QString>(order.cbegin(), order.cend()).size(), order.size());
        QCOMPARE(round("Tab"), order);
        // In reverse order, the first stop remains first, and the other stops are reversed.
        std::reverse(std::next(order.begin()), order.end());
        QCOMPARE(round("shift+Tab"), order);
    }

    void theOrderIsThatOfThePage()
    {
        open("popovers");
        const QStringList order { text("list Pages"), text("check box Kestrum menu bar"),
            text("Appearance/push button Light"), text("Appearance/push button Dark"),
            text("Appearance/push button System"), text("Background/push button Translucent"),
            text("Background/push button Opaque") };
        QCOMPARE(round("Tab"), order);
    }

    void aFocusedControlIsScrolledIntoView()
    {
        open("menuBar");
        const Accessible last = window().tabTo(text("Sensors/combo box Readout"));
        QVERIFY(last.isFound());
        QVERIFY(window().frame().place().contains(last.place()));
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AccessKeyboardEndToEndTest)
#include "AccessKeyboardEndToEndTest.moc"
