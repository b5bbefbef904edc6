#include "Kestrum/Agent/AgentRow.h"
#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AgentFixture.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Widgets.h"

#include <QElapsedTimer>
#include <memory>

using namespace kestrum;

class AgentRowTest : public QObject {
    Q_OBJECT

    /// A red picture, twice as wide as high.
    static constexpr char redPicture[] = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 20 10\">"
                                         "<rect width=\"20\" height=\"10\" fill=\"#f00\"/></svg>";

    /// The row in a sidebar of the usual width.
    struct Shown {
        AgentController controller;
        AgentRow row { controller };

        explicit Shown(int width = 204)
        {
            row.resize(width, row.height());
            row.show();
            QVERIFY(QTest::qWaitForWindowExposed(&row));
        }
        QList<ShrinkingLabel*> labels() { return row.findChildren<ShrinkingLabel*>(); }
        QString state() { return labels()[1]->text(); }
        Switch& control() { return *row.findChild<Switch*>(); }
    };

    std::unique_ptr<AgentFixture> m_fixture;

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        registerFactoryDefaults();
    }
    void init() { m_fixture = std::make_unique<AgentFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void itsGeometryIsFixed()
    {
        Shown shown;
        QCOMPARE(shown.row.height(), 52);
        const QRect control = shown.control().geometry();
        QCOMPARE(control.size(), QSize(30, 18));
        QCOMPARE(control.right() + 1, 204 - 10);
        QVERIFY(std::abs(control.center().y() - 26) <= 1);
        QCOMPARE(shown.row.pictureRect().size(), QSizeF(35, 35));
        QCOMPARE(shown.row.pictureRect().left(), 10.0);
        // The picture's centre is 2 above the row's middle, and the picture starts on a whole pixel.
        QCOMPARE(shown.row.pictureRect().top(), 7.0);
        const auto labels = shown.labels();
        QCOMPARE(labels.size(), 2);
        for (const ShrinkingLabel* label : labels) {
            QCOMPARE(label->geometry().left(), 10 + 35 + 8);
            QCOMPARE(label->geometry().right() + 1, control.left() - 16);
        }
        QCOMPARE(labels[1]->geometry().top() - labels[0]->geometry().bottom() - 1, 1);
        // The two labels together are centred vertically.
        const int middle = labels[0]->geometry().top() + labels[1]->geometry().bottom() + 1;
        QVERIFY2(std::abs(middle - 52) <= 1, QByteArray::number(middle).constData());
    }

    void itIsMirroredInLanguagesFromTheRight()
    {
        Shown shown;
        shown.row.setLayoutDirection(Qt::RightToLeft);
        settle();
        QCOMPARE(shown.control().geometry().left(), 10);
        QCOMPARE(shown.row.pictureRect().right(), 204 - 10.0);
        QCOMPARE(shown.labels().first()->geometry().right() + 1, 204 - 10 - 35 - 8);
    }

    void itsTextsAreANameAndAState()
    {
        Shown shown;
        const auto labels = shown.labels();
        QCOMPARE(labels[0]->text(), QStringLiteral("Kestrum"));
        QCOMPARE(labels[0]->font(), Theme::font(Theme::TextStyle::callout));
        QCOMPARE(labels[0]->font().weight(), QFont::Bold);
        QCOMPARE(labels[1]->text(), QStringLiteral("Off"));
        QCOMPARE(labels[1]->font(), Theme::font(Theme::TextStyle::caption));
        QVERIFY(looks(*labels[0], Theme::TextStyle::callout, Theme::Colour::text));
        QVERIFY(looks(*labels[1], Theme::TextStyle::caption, Theme::Colour::sidebarSecondaryText));
    }

    void theSwitchSlidesWhenItIsTurned()
    {
        m_fixture->installAgent();
        Setting { Keys::agentEnabled }.set(false);
        Shown shown;
        const QImage off = shown.control().grab().toImage();
        QElapsedTimer timer;
        timer.start();
        shown.control().click();
        // The state changes at once; the picture follows by an animation.
        QVERIFY(shown.control().isChecked());
        const QImage first = shown.control().grab().toImage();
        QVERIFY2(first == off || timer.elapsed() > 60, qPrintable(QString::number(timer.elapsed())));
        QTest::qWait(300);
        const QImage on = shown.control().grab().toImage();
        QVERIFY(on != off);
        // A change that does not come from a click is shown at once.
        shown.controller.setEnabled(false);
        QCOMPARE(shown.control().grab().toImage(), off);
    }

    void theTextsShrinkBeforeTheSwitchGivesWay()
    {
        Shown shown(110);
        QCOMPARE(shown.control().geometry().right() + 1, 110 - 10);
        QCOMPARE(shown.control().width(), 30);
        const auto* name = shown.labels().first();
        QCOMPARE_LT(name->shownFont().pointSizeF(), name->font().pointSizeF());
    }

    void theStateIsTranslatedAndTheNameIsNot()
    {
        const TestBundle bundle("{ CFBundleName = Kestrum; }", { "en", "de" });
        bundle.writeTable("de",
            "\"On\" = \"Ein\"; \"Off\" = \"Aus\"; \"Kestrum\" = \"Turmfalke\"; \"Kestrum menu bar\" = "
            "\"Leiste\";");
        qputenv("KESTRUM_LANGUAGE", "de");
        {
            Shown shown;
            QCOMPARE(shown.labels().first()->text(), QStringLiteral("Kestrum"));
            QCOMPARE(shown.state(), QStringLiteral("Aus"));
            QCOMPARE(shown.control().accessibleName(), QStringLiteral("Leiste"));
        }
        qunsetenv("KESTRUM_LANGUAGE");
    }

    void itFollowsTheController()
    {
        m_fixture->installAgent();
        Shown shown;
        QCOMPARE(shown.state(), QStringLiteral("Off"));
        QVERIFY(!shown.control().isChecked());
        shown.controller.setEnabled(true);
        QCOMPARE(shown.state(), QStringLiteral("On"));
        QVERIFY(shown.control().isChecked());
        m_fixture->waitForAgent();
        ::kill(AgentFixture::agents().first(), SIGKILL);
        QTRY_COMPARE_WITH_TIMEOUT(shown.state(), QStringLiteral("Off"), 1000);
        QVERIFY(!shown.control().isChecked());
    }

    void itsSwitchSwitchesTheAgent()
    {
        m_fixture->installAgent();
        Setting { Keys::agentEnabled }.set(false);
        Shown shown;
        QTest::mouseClick(&shown.control(), Qt::LeftButton);
        QVERIFY(shown.control().isChecked());
        QVERIFY(shown.controller.isRunning());
        QVERIFY(Setting { Keys::agentEnabled }.value());
        QCOMPARE(shown.state(), QStringLiteral("On"));
        m_fixture->waitForAgent();
        QTest::keyClick(&shown.control(), Qt::Key_Space);
        QCOMPARE(shown.state(), QStringLiteral("Off"));
        QVERIFY(!Setting { Keys::agentEnabled }.value());
        QTRY_VERIFY(AgentFixture::agents().isEmpty());
    }

    void assistiveProgramsSwitchItToo()
    {
        m_fixture->installAgent();
        Setting { Keys::agentEnabled }.set(false);
        Shown shown;
        QAccessibleActionInterface* actions
            = QAccessible::queryAccessibleInterface(&shown.control())->actionInterface();
        actions->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(Setting { Keys::agentEnabled }.value());
        m_fixture->waitForAgent();
        actions->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(!Setting { Keys::agentEnabled }.value());
        QTRY_VERIFY(AgentFixture::agents().isEmpty());
    }

    void followingTheControllerSwitchesNothing()
    {
        m_fixture->installAgent();
        Setting { Keys::agentEnabled }.set(false);
        Shown shown;
        AgentFixture::startByHand(m_fixture->installAgent());
        QTRY_COMPARE_WITH_TIMEOUT(shown.state(), QStringLiteral("On"), 1000);
        QVERIFY(!Setting { Keys::agentEnabled }.value());
    }

    void aMissingAgentTurnsTheRowBackAtTheNextLook()
    {
        Shown shown;
        QTest::mouseClick(&shown.control(), Qt::LeftButton);
        QCOMPARE(shown.state(), QStringLiteral("On"));
        shown.controller.refresh();
        QCOMPARE(shown.state(), QStringLiteral("Off"));
        QVERIFY(!shown.control().isChecked());
    }

    void thePictureIsThatOfTheApplicationsBundle()
    {
        m_fixture->writeResource(QStringLiteral("SidebarSignal.svg"), redPicture);
        Shown shown;
        // The picture is as wide as its frame, and keeps its aspect ratio.
        const QRect red = pixelsOf(pictureOf(shown.row, Qt::white), Qt::red).place;
        QCOMPARE(red.left(), 10);
        QCOMPARE(red.width(), 35);
        QCOMPARE_LE(std::abs(red.height() - 17), 1);
        QCOMPARE_LE(std::abs(red.center().y() - 24), 1);
    }

    void withoutAPictureItsPlaceIsEmpty()
    {
        Shown shown;
        const QImage place = pictureOf(shown.row, Qt::white).copy(0, 0, 10 + 35, 52);
        QCOMPARE(pixelsOtherThan(place, Qt::white).count, 0);
    }

    void theBuiltBundleHasThePicture()
    {
        const QString path = qEnvironmentVariable("KESTRUM_BUILD")
            + QStringLiteral("/Kestrum.app/Contents/Resources/SidebarSignal.svg");
        const QSvgRenderer picture(path);
        QVERIFY(picture.isValid());
        QCOMPARE(picture.defaultSize(), QSize(35, 35));
    }

    void assistiveProgramsFindTheTextsAndTheSwitchAndNoPicture()
    {
        Shown shown;
        QAccessibleInterface* row = QAccessible::queryAccessibleInterface(&shown.row);
        QStringList found;
        for (int i = 0; i < row->childCount(); ++i)
            found.append(heard(row->child(i)));
        QCOMPARE(
            found.join(u'|'), QStringLiteral("StaticText Kestrum|StaticText Off|CheckBox Kestrum menu bar"));
        QVERIFY(!row->child(2)->state().checked);
        shown.controller.setEnabled(true);
        QVERIFY(row->child(2)->state().checked);
        QCOMPARE(row->child(1)->text(QAccessible::Name), QStringLiteral("On"));
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, AgentRowTest)
#include "AgentRowTest.moc"
