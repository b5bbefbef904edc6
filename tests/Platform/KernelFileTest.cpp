#include "Platform/Machine/KernelFile.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <sys/stat.h>

using namespace kestrum;

class KernelFileTest : public QObject {
    Q_OBJECT
private:
    QString path() const { return m_tree->path(QStringLiteral("file")); }
    void write(const QByteArray& content) const { m_tree->write(QStringLiteral("file"), content); }
    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void eachReadIsOfTheWholeFile()
    {
        write("one");
        KernelFile file(path());
        QCOMPARE(file.read(), std::string_view("one"));
        QCOMPARE(file.read(), std::string_view("one"));
        write("another text");
        QCOMPARE(file.read(), std::string_view("another text"));
        write("");
        QCOMPARE(file.read(), std::string_view(""));
    }

    void sizesAroundThoseOfTheBufferAreReadWhole()
    {
        for (const int size : { 1, 4095, 4096, 4097, 8192, 8193, 200'000 }) {
            QByteArray content(size, 'x');
            content.back() = 'e';
            write(content);
            KernelFile file(path());
            QVERIFY2(file.read() == std::string_view(content.constData(), std::size_t(size)),
                QByteArray::number(size).constData());
        }
    }

    void aTextOfManyRecordsIsReadWhole()
    {
        // The kernel gives such a text in pieces of less than a page each.
        KernelFile maps(QStringLiteral("/proc/self/maps"));
        for (int i = 0; i < 2; ++i) {
            const std::string_view text = maps.read().value_or("");
            QVERIFY(text.size() > 8192);
            QVERIFY(text.find("[stack]") != std::string_view::npos);
        }
    }

    void aFileThatTellsNothingHasChangedUntilItIsOpen()
    {
        KernelFile file(path());
        QVERIFY(file.hasChanged());
        write("one");
        QVERIFY(file.read());
        QVERIFY(!file.hasChanged());
        KernelFile mounts(QStringLiteral("/proc/self/mountinfo"));
        QVERIFY(mounts.hasChanged());
        QVERIFY(mounts.read());
        QVERIFY(!mounts.hasChanged());
    }

    void noMoreIsReadThanAFileOfTheKernelHas()
    {
        write(QByteArray(qsizetype(KernelFile::maximumBytes) * 2, 'x'));
        KernelFile file(path());
        QCOMPARE(file.read().value_or("").size(), KernelFile::maximumBytes);
    }

    void whatComesLaterIsFoundWithinTheLongestPause()
    {
        KernelFile file(path());
        for (int i = 0; i < 500; ++i)
            QVERIFY(!file.read());
        write("here");
        int reads = 1;
        while (!file.read() && reads <= KernelFile::longestPause)
            ++reads;
        QVERIFY(reads <= KernelFile::longestPause + 1);
        QCOMPARE(file.read(), std::string_view("here"));
    }

    void theFirstTrialsFollowEachOtherSoon()
    {
        KernelFile file(path());
        QVERIFY(!file.read());
        write("here");
        QVERIFY(!file.read());
        QCOMPARE(file.read(), std::string_view("here"));
    }

    void whatCannotBeReadIsAbsent()
    {
        KernelFile folder(m_tree->root());
        QVERIFY(!folder.read());
        QCOMPARE(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
        // A plain open() of a pipe would block until another process opens the pipe for writing.
        KernelFile pipe(path());
        pipe.read();
        QVERIFY(!KernelFile(m_tree->path(QStringLiteral("none/at/all"))).read());
        QVERIFY(!KernelFile(QString()).read());
    }

    void numbers()
    {
        const std::pair<QByteArray, std::optional<qint64>> rows[] { { "1234\n", 1234 }, { "0", 0 },
            { "-77\n", -77 }, { "  5 \n", 5 }, { "9223372036854775807\n", 9223372036854775807 }, { "", {} },
            { "\n", {} }, { "-", {} }, { "+5", {} }, { "5 6", {} }, { "5.5", {} }, { "0x10", {} },
            { "five", {} }, { "9223372036854775808", {} }, { "1e3", {} }, { QByteArray("5\0", 2), {} } };
        for (const auto& [content, number] : rows) {
            write(content);
            QCOMPARE_ROW(content, KernelFile(path()).readNumber(), number);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KernelFileTest)
#include "KernelFileTest.moc"
