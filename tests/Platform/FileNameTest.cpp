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
        QTest::newRow("plain") << QStringLiteral("T4K9.com.orvale_x-1") << QByteArray("T4K9.com.orvale_x-1");
        QTest::newRow("slash") << QStringLiteral("a/b") << QByteArray("a%2Fb");
        QTest::newRow("this directory") << QStringLiteral(".") << QByteArray("%2E");
        QTest::newRow("parent") << QStringLiteral("../x") << QByteArray("%2E.%2Fx");
        QTest::newRow("hidden") << QStringLiteral(".hidden.x") << QByteArray("%2Ehidden.x");
        QTest::newRow("percent") << QStringLiteral("50%") << QByteArray("50%25");
        QTest::newRow("blank and line end") << QStringLiteral(" \n") << QByteArray("%20%0A");
        QTest::newRow("zero") << QString(QChar(u'\0')) << QByteArray("%00");
        QTest::newRow("umlaut") << QStringLiteral(u"\u00e4") << QByteArray("%C3%A4");
        QTest::newRow("tilde and quote") << QStringLiteral("~'\"$") << QByteArray("%7E%27%22%24");
    }

    void encodesToOnePathComponent()
    {
        QFETCH(const QString, text);
        QTEST(FileName::encoded(text).value_or(QByteArray()), "name");
    }

    void emptyTextHasNoName()
    {
        QVERIFY(!FileName::encoded(QString()));
        QVERIFY(!FileName::encoded(QString(), ".json"));
    }

    void suffixIsPutBehindAsItStands()
    {
        QCOMPARE(FileName::encoded(QStringLiteral("a b"), ".json").value_or(QByteArray()),
            QByteArray("a%20b.json"));
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

    void differentTextsHaveDifferentNames()
    {
        QVERIFY(FileName::encoded(QStringLiteral("a/b")) != FileName::encoded(QStringLiteral("a%2Fb")));
        QVERIFY(FileName::encoded(QStringLiteral("A")) != FileName::encoded(QStringLiteral("a")));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, FileNameTest)
#include "FileNameTest.moc"
