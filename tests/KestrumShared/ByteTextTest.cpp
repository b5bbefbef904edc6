#include "KestrumShared/Text/ByteText.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"

#include <limits>

using namespace kestrum;
using ByteText::Counting;

class ByteTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { setSession("LANG=en_US.UTF-8"); }

    void fileCounting_data()
    {
        rows({
            { 0, "0 bytes" },
            { 1, "1 byte" },
            { 2, "2 bytes" },
            { 512, "512 bytes" },
            { 999, "999 bytes" },
            { 1000, "1 kB" },
            { 1024, "1 kB" },
            { 1400, "1 kB" },
            { 1600, "2 kB" },
            { 999'499, "999 kB" },
            // Counts that round up to 1,000 are shown in the next unit.
            { 999'500, "1 MB" },
            { 999'999, "1 MB" },
            { 1'000'000, "1 MB" },
            { 1'460'000, "1.5 MB" },
            { 1'949'999, "1.9 MB" },
            { 512'000'000, "512 MB" },
            { 999'949'999, "999.9 MB" },
            { 999'950'000, "1 GB" },
            { 1'000'000'000, "1 GB" },
            { 10'240'000'000, "10.24 GB" },
            { 10'200'000'000, "10.2 GB" },
            { 10'204'000'000, "10.2 GB" },
            { 999'994'999'999, "999.99 GB" },
            { 999'995'000'000, "1 TB" },
            { 1'500'000'000'000, "1.5 TB" },
            { 999'994'999'999'999, "999.99 TB" },
            { 999'995'000'000'000, "1 PB" },
            { 2'250'000'000'000'000, "2.25 PB" },
            // There is no larger unit.
            { 1'234'560'000'000'000'000, "1,234.56 PB" },
            { std::numeric_limits<qint64>::max(), "9,223.37 PB" },
            // Negative counts mirror the positive ones.
            { -1, "-1 byte" },
            { -999'499, "-999 kB" },
            { -999'500, "-1 MB" },
            { -10'240'000'000, "-10.24 GB" },
            { std::numeric_limits<qint64>::min(), "-9,223.37 PB" },
        });
    }
    void fileCounting() { compare(Counting::file); }

    void memoryCounting_data()
    {
        constexpr qint64 kB = 1024;
        constexpr qint64 MB = 1024 * kB;
        constexpr qint64 GB = 1024 * MB;
        constexpr qint64 TB = 1024 * GB;
        rows({
            { 0, "0 bytes" },
            { 1000, "1,000 bytes" },
            { 1023, "1,023 bytes" },
            { kB, "1 kB" },
            { 1000 * kB, "1,000 kB" },
            { MB - kB / 2 - 1, "1,023 kB" },
            { MB - kB / 2, "1 MB" },
            { MB, "1 MB" },
            { 3 * MB / 2, "1.5 MB" },
            { 1'073'689'395, "1,023.9 MB" },
            { 1'073'689'396, "1 GB" },
            { GB, "1 GB" },
            { 16 * GB, "16 GB" },
            { 16 * GB + GB / 4, "16.25 GB" },
            { 1000 * GB, "1,000 GB" },
            { TB, "1 TB" },
            { 1024 * TB, "1 PB" },
            { std::numeric_limits<qint64>::max(), "8,192 PB" },
            { -MB + kB / 2, "-1 MB" },
        });
    }
    void memoryCounting() { compare(Counting::memory); }

    void textByLanguageAndRegion_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("bytes");
        QTest::addColumn<QString>("gigabytes");
        const auto row = [](const char* session, const char* bytes, const char* gigabytes) {
            QTest::newRow(session) << QByteArray(session) << QString::fromUtf8(bytes)
                                   << QString::fromUtf8(gigabytes);
        };
        row("KESTRUM_LANGUAGE=en LANG=en_US", "512 bytes", "10.24 GB");
        row("KESTRUM_LANGUAGE=de LANG=en_US", "512 Byte", "10.24 GB");
        row("KESTRUM_LANGUAGE=de LANG=de_DE", "512 Byte", "10,24 GB");
        row("KESTRUM_LANGUAGE=en LANG=de_DE", "512 bytes", "10,24 GB");
        row("KESTRUM_LANGUAGE=fr LANG=fr_FR", "512 octets", "10,24 Go");
        row("KESTRUM_LANGUAGE=ar LANG=ar_EG", "٥١٢ بايت", "١٠٫٢٤ غ.ب");
        row("KESTRUM_LANGUAGE=ja LANG=ja_JP", "512 バイト", "10.24 GB");
        row("KESTRUM_LANGUAGE=de LANG=de_CH", "512 Byte", "10.24 GB");
        row("KESTRUM_LANGUAGE=en LANG=C", "512 bytes", "10.24 GB");
    }
    void textByLanguageAndRegion()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, bytes);
        QFETCH(QString, gigabytes);
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de", "fr", "ar", "ja" });
        setSession(session);
        const ByteText::Style style = ByteText::style(Counting::file);
        QCOMPARE(withPlainBlanks(style.format(512)), bytes);
        QCOMPARE(withPlainBlanks(style.format(10'240'000'000)), gigabytes);
    }

    void aStyleKeepsTheLanguageItWasMadeWith()
    {
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de" });
        setSession("LANG=de_DE");
        const ByteText::Style style = ByteText::style(Counting::file);
        setSession("LANG=en_US");
        QCOMPARE(withPlainBlanks(style.format(1'500'000)), QStringLiteral("1,5 MB"));
        QCOMPARE(ByteText::style(Counting::file).format(1'500'000), QStringLiteral("1.5 MB"));
    }

private:
    struct Row {
        qint64 bytes;
        const char* text;
    };
    static void rows(std::initializer_list<Row> all)
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        for (const auto& [bytes, text] : all)
            QTest::newRow(qPrintable(QString::number(bytes))) << bytes << QString::fromLatin1(text);
    }
    static void compare(Counting counting)
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(ByteText::style(counting).format(bytes), text);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ByteTextTest)
#include "ByteTextTest.moc"
