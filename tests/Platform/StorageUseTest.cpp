#include "Platform/Machine/StorageUse.h"
#include "tests/Support/TestHome.h"

#include <QStorageInfo>
#include <QTest>

using namespace kestrum;

namespace {

// A volume of 4 KiB blocks.
StorageUse::Ask volume(fsblkcnt_t blocks, fsblkcnt_t free, fsblkcnt_t available)
{
    return [=](const char*, struct statvfs* answer) {
        answer->f_frsize = 4096;
        answer->f_bsize = 1 << 20; // the preferred I/O size, not the unit of the counts
        answer->f_blocks = blocks;
        answer->f_bfree = free;
        answer->f_bavail = available;
        return 0;
    };
}

} // namespace

class StorageUseTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void whatIsKeptForTheAdministratorIsNeitherUsedNorAvailable()
    {
        const auto room = StorageUse({}, volume(1000, 500, 300)).read();
        QVERIFY(room);
        QCOMPARE(room->used, 500.0 / 800);
        QCOMPARE(room->available, 300 * 4096);
    }

    void fullAndEmptyVolumes()
    {
        QCOMPARE(StorageUse({}, volume(1000, 0, 0)).read(), StorageUse::Room({ 1.0, 0 }));
        QCOMPARE(StorageUse({}, volume(1000, 1000, 1000)).read(), StorageUse::Room({ 0.0, 4'096'000 }));
    }

    void oddAnswersAreShares()
    {
        // More free blocks than the volume has, and more available bytes than fit into the type.
        QCOMPARE(StorageUse({}, volume(1000, 2000, 500)).read(), StorageUse::Room({ 0.0, 2'048'000 }));
        const auto room = StorageUse({}, volume(~0UL, ~0UL, ~0UL)).read();
        QVERIFY(room);
        QCOMPARE(room->available, std::numeric_limits<qint64>::max());
        QCOMPARE(room->used, 0.0);
    }

    void aVolumeWithoutSizeOrAnswerIsAbsent()
    {
        QCOMPARE(StorageUse({}, volume(0, 0, 0)).read(), std::nullopt);
        QCOMPARE(StorageUse({}, [](const char*, struct statvfs*) { return -1; }).read(), std::nullopt);
        QCOMPARE(StorageUse(QStringLiteral("/no/such/machine")).read(), std::nullopt);
    }

    void theStartUpVolumeIsAsked()
    {
        QByteArray asked;
        const StorageUse::Ask ask = [&asked](const char* path, struct statvfs*) {
            asked = path;
            return -1;
        };
        QVERIFY(!StorageUse({}, ask).read());
        QCOMPARE(asked, QByteArray("/"));
        QVERIFY(!StorageUse(QStringLiteral("/machine"), ask).read());
        QCOMPARE(asked, QByteArray("/machine/"));

        const auto room = StorageUse().read();
        QVERIFY(room);
        const QStorageInfo info(QStringLiteral("/"));
        QVERIFY(qAbs(double(room->available) - double(info.bytesAvailable())) < 1e9);
        QVERIFY(room->used > 0 && room->used <= 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, StorageUseTest)
#include "StorageUseTest.moc"
