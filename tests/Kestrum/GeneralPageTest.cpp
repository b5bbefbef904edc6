#include "Kestrum/General/GeneralPage.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestBundle.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>

using namespace kestrum;

class GeneralPageTest : public QObject {
    Q_OBJECT

    struct Shown {
        GeneralPage page;

        Shown()
        {
            page.resize(436, 800);
            page.show();
            QVERIFY(QTest::qWaitForWindowExposed(&page));
            settle();
        }

        /// The visible widgets of a type, from top to bottom, then from left to right.
        template <class Part> QList<Part*> seen() const
        {
            QList<Part*> parts;
            for (Part* part : page.findChildren<Part*>()) {
                if (part->isVisible())
                    parts.append(part);
            }
            const auto place = [this](const Part* part) {
                const QPoint middle = part->mapTo(&page, part->rect().center());
                return std::pair(middle.y(), middle.x());
            };
            std::sort(parts.begin(), parts.end(), [&](Part* a, Part* b) { return place(a) < place(b); });
            return parts;
        }
        PopupPicker& picker(const QString& key) const { return *page.findChild<PopupPicker*>(key); }
        Switch& checksAutomatically() const
        {
            return *page.findChild<Switch*>(QStringLiteral("updatesCheckAutomatically"));
        }
        PushButton& checkNow() const
        {
            for (auto* button : page.findChildren<PushButton*>()) {
                if (button->text() == QStringLiteral("Check Now"))
                    return *button;
            }
            qFatal("there is no such button");
        }
        const QLabel& version() const { return *checkNow().parentWidget()->findChild<QLabel*>(); }
    };

    std::optional<TestBundle> m_bundle;

    /// Gives the main bundle the property list `info`.
    void run(const QByteArray& info)
    {
        m_bundle.reset(); // destroy the old bundle first: its destructor restores the earlier main bundle
        m_bundle.emplace(info, QList<QByteArray> { "en", "fr", "de" });
    }

private Q_SLOTS:
    void initTestCase()
    {
        SettingsWindow::prepareProgram();
        qputenv("KESTRUM_NO_LOGIN_ITEM", "1");
    }
    void init()
    {
        SettingsWindow::prepare();
        run("{ CFBundleShortVersionString = \"1.4\"; CFBundleVersion = \"27\"; }");
    }
    void cleanup() { m_bundle.reset(); }

    void sectionsAndRowsStandInTheirOrder()
    {
        const Shown shown;
        QStringList headings;
        for (const Card* card : shown.seen<Card>())
            headings.append(card->accessibleName());
        QCOMPARE(headings.join(u'|'), QStringLiteral("Startup||Units|Sampling|Updates"));
        // The texts include the headings. There is no footnote.
        QStringList texts;
        for (const QLabel* label : shown.seen<QLabel>())
            texts.append(label->text());
        QCOMPARE(texts.join(u'|'),
            QStringLiteral("Startup|Launch Kestrum at login|Login items are disabled in this build.|Language|"
                           "Units|Temperature|Sampling|Refresh interval|Updates|Check automatically|Version|"
                           "1.4 (27)"));
        QStringList controls;
        for (const Switch* control : shown.seen<Switch>())
            controls.append(control->accessibleName());
        for (const PopupPicker* control : shown.seen<PopupPicker>())
            controls.append(control->accessibleName());
        QCOMPARE(controls.join(u'|'),
            QStringLiteral(
                "Launch Kestrum at login|Check automatically|Language|Temperature|Refresh interval"));
        QCOMPARE(shown.seen<PushButton>(), QList { &shown.checkNow() });
    }

    void pickersShowStoreAndFollowTheirChoices_data()
    {
        addRows<QString, QString, QByteArray>(
            { { "language", "Language", "System, Deutsch, English, Français",
                  R"([ "system", "de", "en", "fr" ])" },
                { "temperatureUnit", "Temperature", "System, Celsius, Fahrenheit",
                    R"([ "system", "celsius", "fahrenheit" ])" },
                { "refreshInterval", "Refresh interval", "Every Second, Every 2 Seconds, Every 5 Seconds",
                    "[ 1.0, 2.0, 5.0 ]" } });
    }
    void pickersShowStoreAndFollowTheirChoices()
    {
        const char* key = QTest::currentDataTag();
        const auto [title, choices, stored] = thisRow<QString, QString, QByteArray>();
        const QJsonArray values = QJsonDocument::fromJson(stored).array();
        const Shown page;
        PopupPicker& picker = page.picker(QString::fromLatin1(key));
        QCOMPARE(FormHand::titles(picker).join(QStringLiteral(", ")), choices);
        QCOMPARE(picker.index(), 0);
        QCOMPARE(picker.accessibleName(), title);
        QVERIFY(SharedSettings::store().storedDictionary().isEmpty());
        for (int i = int(values.size()) - 1; i >= 0; --i) {
            FormHand::choose(picker, i);
            // A number is stored as a number, not as text.
            QCOMPARE(FormHand::stored(key), values.at(i));
            QCOMPARE(picker.index(), i);
        }
        QCOMPARE(SharedSettings::store().storedDictionary().keys(), QStringList { QString::fromLatin1(key) });
        for (int i = int(values.size()) - 1; i >= 0; --i) {
            FormHand::storeElsewhere(key, values.at(i));
            QTRY_COMPARE(picker.index(), i);
        }
    }

    void anotherValueShowsNoChoiceAndStays_data()
    {
        addRows<QByteArray, QJsonValue>({ { "language", "language", QStringLiteral("tlh") },
            { "unit", "temperatureUnit", QStringLiteral("kelvin") }, { "interval", "refreshInterval", 3 },
            { "nearly", "refreshInterval", 2.5 }, { "none", "refreshInterval", 0 },
            { "negative", "refreshInterval", -1 } });
    }
    void anotherValueShowsNoChoiceAndStays()
    {
        const auto [key, value] = thisRow<QByteArray, QJsonValue>();
        const Shown page;
        const PopupPicker& picker = page.picker(QString::fromLatin1(key));
        QCOMPARE(picker.index(), 0);
        FormHand::storeElsewhere(key, value);
        QTRY_COMPARE(picker.index(), -1);
        QCOMPARE(picker.currentText(), QString());
        QCOMPARE(FormHand::stored(key), value);
        QCOMPARE(Shown().picker(QString::fromLatin1(key)).index(), -1);
    }

    void choosingALanguageBuildsTheWindowAnewOnThisPage()
    {
        SettingsWindow w;
        w.view.selectPage(SettingsPage::general);
        QVERIFY(qobject_cast<GeneralPage*>(w.view.pageWidget()));
        auto* before = w.view.findChild<PopupPicker*>(QStringLiteral("language"));
        m_bundle->writeTable("de", "General = \"Allgemein\"; System = \"Systemsprache\";");
        FormHand::choose(*before, 1);
        QCOMPARE(storedText("language"), QStringLiteral("de"));
        QTRY_COMPARE(w.selected(), QStringLiteral("Allgemein"));
        QVERIFY(qobject_cast<GeneralPage*>(w.view.pageWidget()));
        const auto& after = *w.view.findChild<PopupPicker*>(QStringLiteral("language"));
        QCOMPARE(after.currentText(), QStringLiteral("Deutsch"));
        // Each language's name is written in that language.
        QCOMPARE(
            FormHand::titles(after).join(u','), QStringLiteral("Systemsprache,Deutsch,English,Français"));
    }

    void theSwitchForChecksIsOnUntilItIsTurnedOff()
    {
        const Shown page;
        QVERIFY(page.checksAutomatically().isChecked());
        QTest::mouseClick(&page.checksAutomatically(), Qt::LeftButton);
        QCOMPARE(FormHand::stored("updatesCheckAutomatically"), QJsonValue(false));
        FormHand::storeElsewhere("updatesCheckAutomatically", true);
        QTRY_VERIFY(page.checksAutomatically().isChecked());
        FormHand::storeElsewhere("updatesCheckAutomatically", false);
        QTRY_VERIFY(!page.checksAutomatically().isChecked());
        QTest::keyClick(&page.checksAutomatically(), Qt::Key_Space);
        QCOMPARE(FormHand::stored("updatesCheckAutomatically"), QJsonValue(true));
    }

    void theVersionIsThatOfTheBundle_data()
    {
        addRows<QByteArray, QString>({ { "both", "CFBundleShortVersionString = 1.4; CFBundleVersion = 27;",
                                           "1.4 (27)" },
            { "equal", "CFBundleShortVersionString = 27; CFBundleVersion = 27;", "27 (27)" },
            { "no build", "CFBundleShortVersionString = 1.4;", "1.4 (—)" },
            { "no version", "CFBundleVersion = 27;", "— (27)" },
            { "neither", "CFBundleName = Kestrum;", "— (—)" },
            { "no texts", "CFBundleShortVersionString = ( 1.4 ); CFBundleVersion = { a = 27; };", "— (—)" },
            { "place markers are no format", "CFBundleShortVersionString = \"%2\"; CFBundleVersion = \"%1\";",
                "%2 (%1)" } });
    }
    void theVersionIsThatOfTheBundle()
    {
        const auto [info, text] = thisRow<QByteArray, QString>();
        run(info);
        QCOMPARE(Shown().version().text(), text);
    }

    void theVersionIsThatOfTheAgentThatRuns()
    {
        StandIns standIns;
        const QString agent = standIns.install(StandIns::agentOf(QStringLiteral("Other.app")));
        standIns.tree().write(
            StandIns::agentBundleOf(QStringLiteral("Other.app")) + QStringLiteral("/Contents/Info.plist"),
            "{ CFBundleShortVersionString = \"1.5\"; CFBundleVersion = \"30\"; }");
        const qint32 pid = standIns.start(agent).pid;
        QTRY_VERIFY(AppLinks::isAgentRunning());
        QCOMPARE(Shown().version().text(), QStringLiteral("1.5 (30)"));
        standIns.end(pid);
        QCOMPARE(Shown().version().text(), QStringLiteral("1.4 (27)"));
    }

    void versionAndButtonStandTwelveApart()
    {
        const Shown page;
        const QRect version = page.version().geometry();
        const QRect button = page.checkNow().geometry();
        QCOMPARE(button.left() - version.right() - 1, 12);
        QVERIFY(std::abs(button.center().y() - version.center().y()) <= 1);
        QCOMPARE(page.checkNow().parentWidget()->width(), button.right() + 1);
    }

    void theButtonWaitsForTheAgentsWord()
    {
        const Shown page;
        QVERIFY(!page.checkNow().isEnabled());
        for (const QJsonValue& no : { QJsonValue(false), QJsonValue(QStringLiteral("perhaps")) }) {
            FormHand::storeElsewhere("updaterCanCheck", true);
            QTRY_VERIFY(page.checkNow().isEnabled());
            FormHand::storeElsewhere("updaterCanCheck", no);
            QTRY_VERIFY(!page.checkNow().isEnabled());
        }
    }

    void theButtonAsksForACheckAndDoesNothingElse()
    {
        using Signal = SharedSettings::Signal;
        SharedSettings::store().set("updaterCanCheck", true);
        const QJsonObject before = SharedSettings::store().storedDictionary();
        const Shown page;
        const Ear asked(SharedSettings::suiteName() + QStringLiteral(".checkForUpdates"));
        const Ear settings(SharedSettings::name(Signal::settings));
        const Ear quit(SharedSettings::name(Signal::quitAgent));
        const Ear available(SharedSettings::name(Signal::updateAvailable));
        QTest::mouseClick(&page.checkNow(), Qt::LeftButton);
        QTRY_COMPARE(asked.count, 1);
        QTest::keyClick(&page.checkNow(), Qt::Key_Space);
        QTRY_COMPARE(asked.count, 2);
        QTest::qWait(quietTime);
        QCOMPARE(settings.count + quit.count + available.count, 0);
        QCOMPARE(SharedSettings::store().storedDictionary(), before);
        // A disabled button posts no request.
        FormHand::storeElsewhere("updaterCanCheck", false);
        QTRY_VERIFY(!page.checkNow().isEnabled());
        QTest::mouseClick(&page.checkNow(), Qt::LeftButton);
        QTest::qWait(quietTime);
        QCOMPARE(asked.count, 2);
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, GeneralPageTest)
#include "GeneralPageTest.moc"
