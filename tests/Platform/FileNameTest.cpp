#include "Platform/Files/FileName.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class FileNameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void encodesToOnePathComponent_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("name");
        const auto row = [](const char* name, const QString& text, const char* encoded) {
            QTest::newRow(name) << text << QByteArray(encoded);
        };
        row("plain", QStringLiteral("T4K9.com.orvale_x-1"), "T4K9.com.orvale_x-1");
        row("slash", QStringLiteral("a/b"), "a%2Fb");
        row("this directory", QStringLiteral("."), "%2E");
        row("parent", QStringLiteral("../x"), "%2E.%2Fx");
        row("hidden", QStringLiteral(".hidden.x"), "%2Ehidden.x");
        row("percent", QStringLiteral("50%"), "50%25");
        row("blank and line end", QStringLiteral(" \n"), "%20%0A");
        row("zero", QString(QChar(u'\0')), "%00");
        row("umlaut", QStringLiteral(u"\u00e4"), "%C3%A4");
        row("tilde and quote", QStringLiteral("~'\"$"), "%7E%27%22%24");
        row("encoded", QStringLiteral("a%2Fb"), "a%252Fb");
        row("capital letter", QStringLiteral("A"), "A");
        row("empty", QString(), "");
    }

    void encodesToOnePathComponent()
    {
        QFETCH(const QString, text);
        QFETCH(const QByteArray, name);
        for (const QByteArray suffix : { "", ".json" }) {
            QCOMPARE(FileName::encoded(text, suffix).value_or("none"),
                name.isEmpty() ? QByteArray("none") : name + suffix);
        }
    }

    void lengthLeavesRoomForDecorations()
    {
        qsizetype longest = 0;
        for (qsizetype length = 1; length < 300; ++length) {
            if (const auto name = FileName::encoded(QString(length, u'x'), ".json")) {
                QCOMPARE(name->size(), length + 5);
                longest = name->size();
            }
        }
        QVERIFY(longest + QByteArray(".damaged-999").size() <= 255);
        QVERIFY(longest >= 200);
        QVERIFY(FileName::encoded(QString(longest / 3, u'/')));
        QVERIFY(!FileName::encoded(QString(longest / 3 + 1, u'/')));
        QVERIFY(!FileName::encoded(QString(1 << 20, u'x')));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, FileNameTest)
#include "FileNameTest.moc"
