#include "Kestrum/Agent/AgentController.h"
#include "Kestrum/Agent/AgentRow.h"
#include "Kestrum/Agent/UpdateOfferRow.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class SidebarFootTest : public QObject {
    Q_OBJECT

    static QRect agent(const SettingsWindow& w) { return w.place(*w.view.findChild<AgentRow*>()); }
    /// Offers an update, as the agent does when it has found a newer version.
    static void offer()
    {
        SharedSettings::store().set(Keys::updatesAvailable.name, QStringLiteral("99.0 (9999)"));
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void listDividerOfferAndAgentStandOnEachOther()
    {
        SettingsWindow w;
        offer();
        auto* offerRow = w.view.findChild<UpdateOfferRow*>();
        QTRY_VERIFY(offerRow->height() > 0);
        settle();
        const QRect list = w.place(w.sidebar());
        const QRect update = w.place(*offerRow);
        const QRect agent = SidebarFootTest::agent(w);
        QCOMPARE(list.top(), 0);
        // The offer starts with the only divider of the foot.
        QCOMPARE(update.top(), list.bottom() + 1);
        const QImage picture = w.view.grab().toImage();
        const QImage column = picture.copy(3, list.bottom(), 1, agent.bottom() - list.bottom());
        const FoundPixels line = pixelsOtherThan(column, column.pixelColor(0, 0));
        QCOMPARE(line.count, 1);
        QCOMPARE(list.bottom() + line.place.top(), update.top());
        QCOMPARE(agent.top(), update.bottom() + 1);
        QCOMPARE(agent.bottom() + 1, 520);
        QCOMPARE(agent.height(), 52);
        for (const QRect& part : { list, update, agent }) {
            QCOMPARE(part.left(), 0);
            QCOMPARE(part.width(), 204);
        }
    }

    void withoutAnOfferTheDividerIsRightAboveTheAgent()
    {
        SettingsWindow w;
        const QRect list = w.place(w.sidebar());
        QCOMPARE(agent(w).top(), list.bottom() + 1 + 1);
        const QImage picture = w.view.grab().toImage();
        const QColor ground = picture.pixelColor(100, list.bottom());
        QVERIFY(picture.pixelColor(100, list.bottom() + 1) != ground);
        QCOMPARE(picture.pixelColor(0, list.bottom() + 1), picture.pixelColor(203, list.bottom() + 1));
        QCOMPARE(picture.pixelColor(100, list.bottom() + 2), ground);
    }

    void theDividerComesBackWhenTheOfferGoes()
    {
        SettingsWindow w;
        offer();
        auto* offerRow = w.view.findChild<UpdateOfferRow*>();
        QTRY_VERIFY(offerRow->height() > 0);
        SharedSettings::store().remove(Keys::updatesAvailable.name);
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_COMPARE(offerRow->height(), 0);
        QTRY_COMPARE(agent(w).top(), w.place(w.sidebar()).bottom() + 1 + 1);
    }

    void theFootStaysWhenTheWindowGrows()
    {
        SettingsWindow w;
        w.view.resize(900, 700);
        settle();
        QCOMPARE(agent(w).bottom() + 1, 700);
    }

    void anotherLanguageKeepsTheOneController()
    {
        SettingsWindow w;
        const auto before = w.view.findChildren<AgentController*>();
        QCOMPARE(before.size(), 1);
        SettingsWindow::speak("de");
        QTRY_COMPARE(w.selected(), QStringLiteral("Menüleiste"));
        QCOMPARE(w.view.findChildren<AgentController*>(), before);
        const auto rows = w.view.findChildren<AgentRow*>();
        QCOMPARE(rows.size(), 1);
        const auto labels = rows.first()->findChildren<QLabel*>();
        QCOMPARE(labels.first()->text(), QStringLiteral("Kestrum"));
        // The new row follows the controller.
        Q_EMIT before.first()->isRunningChanged(true);
        QCOMPARE(labels.last()->text(), QStringLiteral("Ein"));
        Q_EMIT before.first()->isRunningChanged(false);
        QCOMPARE(labels.last()->text(), QStringLiteral("Aus"));
    }
};

KESTRUM_TEST_MAIN(QApplication, SidebarFootTest)
#include "SidebarFootTest.moc"
