// The verb that opens popovers. A stand-in plays the agent; this process hears what it would hear.

#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/KestrumctlAgentFixture.h"

#include <QCoreApplication>

using namespace kestrum;

class KestrumctlPopoverVerbTest : public KestrumctlAgentFixture {
    Q_OBJECT

private Q_SLOTS:
    void eachNameIsANotificationOfItsOwn()
    {
        startAgent();
        QStringList heard;
        SignalListener listener;
        for (const auto& request : allCases<PopoverRequest>()) {
            const QString name = QLatin1StringView(request.rawValue);
            QCOMPARE(notificationName(request.value), SharedSettings::suiteName() + text(".popover.") + name);
            listener.listen(notificationName(request.value), [&heard, name] { heard.append(name); });
        }
        for (const char* name : { "cpu", "memory", "storage", "sensors", "close" }) {
            heard.clear();
            QCOMPARE(ctl(("popover " + QByteArray(name)).constData()), done());
            QTRY_COMPARE(heard, QStringList(QString::fromLatin1(name)));
        }
    }

    void withoutAnAgentItSaysSo()
    {
        QCOMPARE(ctl("popover cpu"), failed("no agent runs"));
        QCOMPARE(ctl("popover close"), failed("no agent runs"));
    }

    void aHiddenItemHasNoPopover()
    {
        startAgent();
        QVERIFY(Setting(Keys::showMemoryItem).set(false));
        QCOMPARE(ctl("popover memory"), failed("the item \"memory\" is not shown"));
        QCOMPARE(ctl("popover cpu"), done());
    }

    void otherNamesAreWrongUse()
    {
        const auto result = ctl("popover storge");
        QCOMPARE(result.code, 2);
        QVERIFY_CONTAINS(result.errors, "storage");
        QCOMPARE(ctl("popover").code, 2);
    }

private:
    static Programs::Ended failed(const QByteArray& reason)
    {
        return { 1, {}, "kestrumctl: " + reason + '\n' };
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, KestrumctlPopoverVerbTest)
#include "KestrumctlPopoverVerbTest.moc"
