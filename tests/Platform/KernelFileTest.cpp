#include "Platform/Machine/KernelFile.h"
#include "tests/Support/FileTree.h"
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

    void sizesAroundThoseOfTheBufferAreReadWhole_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : { 1, 4095, 4096, 4097, 8192, 8193, 200'000 })
            QTest::addRow("%d", size) << size;
    }
    void sizesAroundThoseOfTheBufferAreReadWhole()
    {
        QFETCH(int, size);
        QByteArray content(size, 'x');
        content.back() = 'e';
        write(content);
        KernelFile file(path());
        QVERIFY(file.read() == std::string_view(content.constData(), std::size_t(size)));
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
        // A plain open() of a pipe would block until another process opens it for writing.
        KernelFile pipe(path());
        pipe.read();
        QVERIFY(!KernelFile(m_tree->path(QStringLiteral("none/at/all"))).read());
        QVERIFY(!KernelFile(QString()).read());
    }

    void numbers_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<qint64>("number");
        QTest::newRow("line") << QByteArray("1234\n") << qint64(1234);
        QTest::newRow("no line end") << QByteArray("0") << qint64(0);
        QTest::newRow("negative") << QByteArray("-77\n") << qint64(-77);
        QTest::newRow("blanks around") << QByteArray("  5 \n") << qint64(5);
        QTest::newRow("largest") << QByteArray("9223372036854775807\n") << qint64(9223372036854775807);
    }
    void numbers()
    {
        QFETCH(QByteArray, content);
        QFETCH(qint64, number);
        write(content);
        QCOMPARE(KernelFile(path()).readNumber(), std::optional(number));
    }

    void otherTextsAreNoNumbers_data()
    {
        QTest::addColumn<QByteArray>("content");
        for (const char* content :
            { "", "\n", "-", "+5", "5 6", "5.5", "0x10", "five", "9223372036854775808", "1e3" })
            QTest::addRow("'%s'", content) << QByteArray(content);
        QTest::newRow("zero byte") << QByteArray("5\0", 2);
    }
    void otherTextsAreNoNumbers()
    {
        QFETCH(QByteArray, content);
        write(content);
        QCOMPARE(KernelFile(path()).readNumber(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KernelFileTest)
#include "KernelFileTest.moc"
