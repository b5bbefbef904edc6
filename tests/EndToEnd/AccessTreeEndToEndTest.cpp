// The accessibility tree of the built program's window: every element has a name, a role and a state.

#include "tests/Support/AccessTest.h"

using namespace kestrum;

using Programs::patience;
using State = Accessible::State;

class AccessTreeEndToEndTest : public AccessTest {
    Q_OBJECT

    struct Shown {
        Accessible at;
        QString role;
        quint64 states;
        bool has(State state) const { return (states >> int(state) & 1) != 0; }
        bool isOneOf(std::initializer_list<const char*> roles) const
        {
            return std::any_of(
                roles.begin(), roles.end(), [this](const char* one) { return role == text(one); });
        }
        QByteArray details() const { return at.outline().toUtf8(); }
    };

    static void checkControl(const Shown& control)
    {
        QVERIFY2(!control.at.label().isEmpty(), control.details().constData());
        QVERIFY2(
            control.isOneOf({ "check box", "radio button", "combo box", "push button", "list", "list item" }),
            control.details().constData());
        QVERIFY2(control.has(State::focusable) && control.has(State::visible), control.details().constData());
        QVERIFY2(!control.at.place().isEmpty(), control.details().constData());
    }
    static void checkText(const Shown& label)
    {
        QVERIFY2(!label.at.name().isEmpty(), label.details().constData());
        const Accessible control = label.at.labelled();
        if (control.isFound())
            QCOMPARE(control.label(), label.at.name());
    }

    /// Opens the window with all elements, including those that are shown only sometimes.
    void openFull()
    {
        QFETCH(const QByteArray, pane);
        open(pane.constData());
        writeText("cpuAccent", "custom:srgb:0.2000,0.4000,0.6000");
        writeText("updatesAvailable", "9.9 (999999)");
        fixture().write("updaterCanCheck", "true");
        fixture().kestrumctl("post updateAvailable");
        QTRY_VERIFY_WITH_TIMEOUT(window().control(text("push button Install")).isFound(), patience);
        QVERIFY(pane != "menuBar"
            || QTest::qWaitFor(
                [this] { return window().control(text("CPU/push button Colour custom colour")).isFound(); },
                patience));
    }

private Q_SLOTS:
    void theWindowIsAWindow()
    {
        open("menuBar");
        QCOMPARE(window().application().role(), text("application"));
        QCOMPARE(window().application().name(), text("Kestrum"));
        QVERIFY(window().frame().has(State::showing));
        for (const char* page : { "Menu Bar", "Popovers", "General" }) {
            const Accessible row = window().row(page);
            QVERIFY2(row.isFound(), qPrintable(window().frame().outline()));
            QVERIFY(row.has(State::selectable));
            QCOMPARE(row.has(State::selected), QByteArray(page) == "Menu Bar");
            QVERIFY(!row.place().isEmpty());
        }
        QVERIFY(!window().row("Nobody").isFound());
    }

    void everyControlHasANameARoleAndItsStates_data()
    {
        QTest::addColumn<QByteArray>("pane");
        QTest::addColumn<int>("leastControls");
        QTest::addColumn<int>("leastRows");
        QTest::newRow("menuBar") << QByteArray("menuBar") << 27 << 14;
        QTest::newRow("popovers") << QByteArray("popovers") << 11 << 0; // each tile has its own name
        QTest::newRow("general") << QByteArray("general") << 10 << 6;
    }
    void everyControlHasANameARoleAndItsStates()
    {
        openFull();
        int controls = 0;
        int rows = 0;
        for (const Accessible& at : window().shown()) {
            const Shown one { at, at.role(), at.states() };
            // Headings between the sidebar's rows are not controls.
            if (one.has(State::focusable) || (one.role != text("list item") && !at.actions().isEmpty())) {
                ++controls;
                checkControl(one);
                // A control is neither a container nor a plain text.
                QVERIFY2(!one.isOneOf({ "filler", "panel", "label" }), one.details().constData());
            } else if (one.role == text("label")) {
                rows += at.labelled().isFound() ? 1 : 0;
                checkText(one);
            }
            if (QTest::currentTestFailed())
                return;
        }
        QFETCH(const int, leastControls);
        QFETCH(const int, leastRows);
        QVERIFY2(controls >= leastControls && rows >= leastRows,
            qPrintable(text("%1 controls, %2 rows").arg(controls).arg(rows)));
    }

    void whatCannotBeUsedIsDisabled()
    {
        open("general");
        const Accessible button = window().frame().find(text("push button"), text("Check Now"));
        QVERIFY(button.isFound());
        QVERIFY(!button.has(State::enabled));
        fixture().write("updaterCanCheck", "true");
        QTRY_VERIFY_WITH_TIMEOUT(button.has(State::enabled), patience);
    }

    void headingsComeBeforeWhatTheyAreAbout()
    {
        open("menuBar");
        const QString tree = window().frame().outline();
        const auto place = [&tree](const char* what) { return tree.indexOf(text(what)); };
        QVERIFY(place("list \"Pages\"") >= 0);
        QVERIFY(place("list \"Pages\"") < place("list \"Menu bar items\""));
        QVERIFY(place("label \"CPU\"") >= 0);
        QVERIFY(place("label \"CPU\"") < place("label \"Meter\""));
        QVERIFY(place("label \"Meter\"") < place("label \"Memory\""));
    }

    void thePreviewsItemsAreHeardWithTheirReadouts()
    {
        open("menuBar");
        const Accessible strip = window().frame().find(text("list"), text("Menu bar items"));
        QStringList heard;
        for (const Accessible& item : strip.children()) {
            QVERIFY(item.has(State::focusable));
            const QStringList sentences = item.description().split(text(". "));
            heard.append(item.name() + u' ' + sentences.first());
            QVERIFY(sentences.last().contains(text("Alt")));
        }
        QCOMPARE(heard.join(text(", ")), strip.description());
        QCOMPARE(heard.size(), 4);
        fixture().write("showSensorsItem", "false");
        QTRY_COMPARE_WITH_TIMEOUT(strip.children().size(), 3, patience);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AccessTreeEndToEndTest)
#include "AccessTreeEndToEndTest.moc"
