#include "Platform/Machine/Bell.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VolumesFixture.h"

using namespace kestrum;
using namespace std::chrono_literals;

class VolumesTest : public QObject, private VolumesFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void eachVolumeHasItsSpace()
    {
        mount(shareLine(5, "/mnt/nas") + localLine(2, "/home") + localLine(1, "/"));
        m_volumes->begin();
        const auto list = m_volumes->volumes();
        QCOMPARE(list.size(), 3);
        QCOMPARE(
            list.at(0), VolumeUse({ QStringLiteral("/"), QStringLiteral("/"), VolumeUse::Kind::local, {} }));
        QCOMPARE(list.at(2),
            VolumeUse({ QStringLiteral("/mnt/nas"), QStringLiteral("nas:/mnt/nas"), VolumeUse::Kind::network,
                {} }));
        QCOMPARE(m_volumes->more(), 0);
        sample();
        QVERIFY(becomes("/", "1"));
        QVERIFY(becomes("/home", "5"));
        QVERIFY(becomes("/mnt/nas", "8"));
        // The volumes of this machine share a thread.
        QCOMPARE(m_standIns->threads("/"), m_standIns->threads("/home"));
        QVERIFY(m_standIns->threads("/") != m_standIns->threads("/mnt/nas"));
    }

    void aVolumeThatFailsHasNoSpace()
    {
        mount(localLine(1, "/") + localLine(2, "/srv"));
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/srv", "4"));
        m_standIns->fail("/srv");
        sample(1s);
        QVERIFY(becomes("/srv", "-"));
        QCOMPARE(space("/"), QByteArray("1"));
    }

    void sharesAreAskedEveryTenSecondsOthersAtEachSample()
    {
        mount(localLine(1, "/") + shareLine(2, "/mnt/share"));
        m_volumes->begin();
        for (int i = 1; i <= 20; ++i)
            QVERIFY(isAsked("/", i));
        QVERIFY(becomes("/mnt/share", "10"));
        m_now += 9999ms;
        for (int i = 21; i <= 25; ++i)
            QVERIFY(isAsked("/", i));
        QCOMPARE(m_standIns->asked("/mnt/share"), 1);
        m_now += 1ms;
        QVERIFY(isAsked("/mnt/share", 2));
        QVERIFY(isAsked("/", m_standIns->asked("/") + 2));
        QCOMPARE(m_standIns->asked("/mnt/share"), 2);
    }

    void theListEndsAtSix()
    {
        QByteArray table;
        for (int i = 1; i <= 9; ++i)
            table += localLine(i, "/disk" + QByteArray::number(i));
        mount(table);
        m_volumes->begin();
        QCOMPARE(m_volumes->volumes().size(), 6);
        QCOMPARE(m_volumes->more(), 3);
        sample();
        QVERIFY(becomes("/disk6", "6"));
        QCOMPARE(m_standIns->allAsked().size(), 6);
        QVERIFY(!m_standIns->allAsked().contains("/disk7"));
    }

    void volumesComeAndGo()
    {
        mount(localLine(1, "/") + localLine(2, "/media/user/A"));
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/media/user/A", "13"));
        m_volumes->end();
        // Another volume is at the same path, and has no space yet.
        mount(localLine(1, "/") + localLine(3, "/media/user/A"));
        m_volumes->begin();
        QCOMPARE(space("/media/user/A"), QByteArray("-"));
        QCOMPARE(space("/"), QByteArray("1"));
        m_volumes->end();
        mount(localLine(1, "/"));
        m_volumes->begin();
        QCOMPARE(space("/media/user/A"), QByteArray("gone"));
    }

    void onlyMountedSharesAreAsked()
    {
        mount("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
              "60 1 0:60 / /net/wanted rw - autofs /etc/auto.nas rw,direct\n"
              "61 60 0:61 / /net/wanted rw - nfs4 nas:/wanted rw\n"
              "62 1 0:62 / /net/other rw - autofs systemd-1 rw,direct\n");
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/net/wanted", "11"));
        QVERIFY(becomes("/", "1"));
        QCOMPARE(m_standIns->allAsked(), QSet<QByteArray>({ "/", "/net/wanted" }));
    }

    void answersRingTheBellAndNothingElseDoes()
    {
        mount(localLine(1, "/") + shareLine(2, "/mnt/hung"));
        m_standIns->hang("/mnt/hung");
        Bell bell;
        int rings = 0;
        connect(&bell, &Bell::rung, this, [&] {
            ++rings;
            m_volumes->collect(m_now);
        });
        m_volumes->begin();
        m_volumes->sample(bell.rope(), m_now);
        QTRY_COMPARE_WITH_TIMEOUT(space("/"), QByteArray("1"), volumePatience);
        QTest::qWait(quietTime);
        QCOMPARE(rings, 1);
        sample(1s);
        QTest::qWait(quietTime);
        QCOMPARE(rings, 1);
    }

    void withoutATableThereAreNoVolumes()
    {
        m_volumes->begin();
        sample();
        QVERIFY(m_volumes->volumes().isEmpty());
        QCOMPARE(m_volumes->more(), 0);
        m_volumes->end();
        // A table, but no such paths.
        mount(localLine(1, "/no/such/path"));
        m_volumes = std::make_unique<Volumes>(m_tree->root());
        m_volumes->begin();
        sample();
        QCOMPARE(space("/no/such/path"), QByteArray("-"));
        QCOMPARE(m_volumes->volumes().size(), 1);
    }

    void thisMachine()
    {
        m_volumes = std::make_unique<Volumes>();
        m_volumes->begin();
        m_volumes->sample();
        for (const VolumeUse& volume : m_volumes->volumes()) {
            if (volume.id != QLatin1String("/"))
                continue;
            QVERIFY(QTest::qWaitFor(
                [&] { return (m_volumes->collect(), m_volumes->volumes().first().space.has_value()); },
                volumePatience));
            const auto room = StorageUse().read();
            QVERIFY(room);
            QVERIFY(qAbs(m_volumes->volumes().first().space->used - room->used) < 0.01);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, VolumesTest)
#include "VolumesTest.moc"
