// What a large block leaves behind.

#include "Platform/Processes/Heap.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestRunner.h"

#include <QCoreApplication>
#include <QTest>
#include <malloc.h>
#include <memory>

using namespace kestrum;

class HeapTest : public QObject {
    Q_OBJECT

    static constexpr size_t mebibyte = 1024 * 1024;

    static size_t mapped() { return ::mallinfo2().hblkhd; }
    /// How much more is mapped while there is a block of this size.
    static size_t mappedFor(size_t size)
    {
        const size_t before = mapped();
        const auto block = std::make_unique_for_overwrite<char[]>(size);
        *block.get() = 1;
        return mapped() - before;
    }

private Q_SLOTS:
    void blocksOfAMebibyteAreTheKernelsAfterAGreaterOneToo()
    {
        if (Programs::areSanitized)
            QSKIP("the sanitizer has its own heap");
        Heap::giveLargeBlocksBack();
        QCOMPARE_GE(mappedFor(24 * mebibyte), 24 * mebibyte);
        QCOMPARE_GE(mappedFor(2 * mebibyte), 2 * mebibyte);
        QCOMPARE(mappedFor(mebibyte / 2), 0U);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, HeapTest)
#include "HeapTest.moc"
