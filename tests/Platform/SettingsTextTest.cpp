#include "Platform/Store/SettingsText.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QTest>
#include <limits>

using namespace kestrum;

namespace {

// Outside of the class, because moc misreads raw strings with escapes.
constexpr char everyType[]
    = R"({"array":[1,"x",null,{"y":[]}],"big":9007199254740993,"double":0.1,"empty":"",)"
      R"("exponent":1e-7,"false":false,"int":-42,"max":9223372036854775807,"null":null,)"
      R"("object":{"k":{}},"surrogate":"\ud800","text":"\u0000\u001f\"\\/\u20ac","":1})";

QByteArray nested(int depth)
{
    // The outer object is the first level.
    return "{\"before\": 1, \"deep\": " + QByteArray(depth - 1, '[') + QByteArray(depth - 1, ']')
        + ", \"after\": 2}";
}

} // namespace

class SettingsTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void soundTextsAreRead_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QJsonObject>("values");
        const auto row = [](const char* name, const QByteArray& text, const QJsonObject& values) {
            QTest::newRow(name) << text << values;
        };
        const QJsonObject one = json({ { "a", 1 } });
        row("plain", "{\"a\": 1}\n", one);
        row("nothing", {}, {});
        row("blank", " \t\r\n\n", {});
        row("no members", "{}", {});
        row("byte order mark", "\xEF\xBB\xBF{\"a\": 1}", one);
        row("byte order mark alone", "\xEF\xBB\xBF\n", {});
        row("line ends of another system", "{\r\n\"a\": 1\r\n}\r\n", one);
        row("of a key that stands twice the last counts", "{\"a\": 7, \"b\": true, \"a\": 1}",
            json({ { "a", 1 }, { "b", true } }));
        row("brackets and quotes in a text", "{\"a\": \"}]{[\\\"\\\\\", \"b\": 1}",
            json({ { "a", QStringLiteral("}]{[\"\\") }, { "b", 1 } }));
    }

    void soundTextsAreRead()
    {
        QFETCH(const QByteArray, text);
        const auto parsed = SettingsText::parsed(text);
        QCOMPARE(parsed.damage, QString());
        QTEST(parsed.values, "values");
    }

    void damagedTextsAreSalvagedAndNamed_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("keys");
        const auto row = [](const char* name, const QByteArray& text, const char* keys) {
            QTest::newRow(name) << text << QString::fromLatin1(keys);
        };
        row("only NUL bytes", QByteArray(4096, '\0'), "");
        row("NUL bytes behind the end", "{\"a\": 1, \"b\": 2}" + QByteArray(100, '\0'), "a,b");
        row("NUL bytes from the middle on", "{\"a\": 1,\n\"b\": \"x" + QByteArray(100, '\0'), "a");
        row("not a number", "{\"a\": 1, \"n\": NaN, \"b\": 2}", "a,b");
        row("infinity", "{\"a\": 1, \"n\": -Infinity, \"m\": 1e999, \"b\": 2}", "a,b");
        row("invalid UTF-8 in a value", "{\"a\": 1, \"n\": \"\xFF\", \"b\": 2}", "a,b");
        row("invalid UTF-8 in a key", "{\"a\": 1, \"\xC0\x80\": 1, \"b\": 2}", "a,b");
        row("another encoding",
            QByteArray("\xFF\xFE{\0\"\0a\0\"\0:\0"
                       "1\0}\0",
                16),
            "");
        row("a list", "[{\"a\": 1}]", "a");
        row("a text alone", "\"a\"", "");
        row("a word alone", "true", "");
        row("another format", "[section]\na=1\n", "");
        row("comma too many", "{\"a\": 1, \"b\": 2,}", "a,b");
        row("comma missing", "{\"a\": 1\n\"b\": 2}", "a,b");
        row("bracket missing", "{\"a\": 1,\n\"b\": 2\n", "a,b");
        row("bracket too many", "{\"a\": 1\n},\n\"b\": 2\n}", "a,b");
        row("quote missing behind a value", "{\n\"a\": \"x,\n\"b\": \"y\"\n}", "b");
        row("quote missing behind a key", "{\n\"a: 1,\n\"b\": 2\n}", "b");
        row("quote missing before a key", "{\n\"a\": 1,\nn\": 1,\n\"b\": 2\n}", "a,b");
        row("backslash at a line's end", "{\n\"a\": \"x\\\n,\n\"b\": 2\n}", "b");
        row("colon missing", "{\n\"n\" 1,\n\"b\": 2\n}", "b");
        row("value missing", "{\n\"n\": ,\n\"b\": 2\n}", "b");
        row("comment", "{\n// mine\n\"a\": 1, // \"n\": 1\n\"b\": 2\n}", "a,b");
        row("marks of a merge", "{\n<<<<<<< HEAD\n\"a\": 1\n=======\n\"b\": 2\n>>>>>>> theirs\n}", "a,b");
        row("open list swallows the rest", "{\"a\": 1, \"n\": [1, \"b\": 2}", "a");
        row("members of an open object are not ours", "{\"a\": 1,\n\"n\": {\n\"x\": 1,\n\"y\": 2\n", "a");
        row("a second object is not ours", "{\"a\": 1}\n{\"n\": 1}\n", "a");
        row("sound object as value", "{\"a\": {\"x\": [1, \"]}\"]}, \"n\": NaN}", "a");
        row("number cut off at the end", "{\"a\": 1, \"n\": 12", "a");
        row("two objects in a line", "{\"a\": 1}{\"n\": 1}", "a");
        row("the last of a key that stands twice", "{\"a\": 2, \"a\": 1, \"n\": NaN}", "a");
    }

    void damagedTextsAreSalvagedAndNamed()
    {
        QFETCH(const QByteArray, text);
        const auto parsed = SettingsText::parsed(text);
        QVERIFY(!parsed.damage.isEmpty());
        QFETCH(const QString, keys);
        QCOMPARE(parsed.values.keys().join(u','), keys);
        if (keys == QStringLiteral("a,b"))
            QCOMPARE(parsed.values, json({ { "a", 1 }, { "b", 2 } }));
        // The salvaged values can be written and read again.
        QCOMPARE(SettingsText::parsed(SettingsText::serialised(parsed.values)).values, parsed.values);
    }

    void everyCutOfATextKeepsTheWholeMembers()
    {
        QJsonObject values;
        for (int i = 0; i < 9; ++i)
            values.insert(QStringLiteral("k%1").arg(i), QStringLiteral("v\"%1\\").arg(i));
        values.insert(QStringLiteral("k3"), QJsonArray { 1, json({ { "x", true } }) });
        const QByteArray text = SettingsText::serialised(values);
        qsizetype most = 0;
        for (qsizetype length = 1; length < text.size() - 2; ++length) {
            const auto parsed = SettingsText::parsed(text.left(length));
            QVERIFY(!parsed.damage.isEmpty());
            for (auto value = parsed.values.begin(); value != parsed.values.end(); ++value)
                QCOMPARE(value.value(), values.value(value.key()));
            QVERIFY(parsed.values.size() >= most); // a longer text never gives fewer values
            most = parsed.values.size();
        }
        QCOMPARE(most, values.size());
    }

    void tooLargeTextGivesNothing()
    {
        QByteArray text = "{\"a\": \"" + QByteArray(SettingsText::maximumBytes - 9, 'x') + "\"}";
        QCOMPARE(text.size(), SettingsText::maximumBytes);
        QCOMPARE(SettingsText::parsed(text).values.size(), 1);
        QCOMPARE(SettingsText::parsed(text).damage, QString());
        text += '\n';
        QCOMPARE(SettingsText::parsed(text).values.size(), 0);
        QVERIFY(!SettingsText::parsed(text).damage.isEmpty());
    }

    void depthIsCapped()
    {
        const auto allowed = SettingsText::parsed(nested(SettingsText::maximumDepth));
        QCOMPARE(allowed.damage, QString());
        QCOMPARE(allowed.values.size(), 3);
        for (const int depth : { SettingsText::maximumDepth + 1, 2000, 200'000 }) {
            const auto parsed = SettingsText::parsed(nested(depth));
            QVERIFY(!parsed.damage.isEmpty());
            QCOMPARE(
                parsed.values.keys(), (QStringList { QStringLiteral("after"), QStringLiteral("before") }));
        }
    }

    void tellsWhatNoTextCanHold()
    {
        QVERIFY(SettingsText::isStorable(QJsonValue::Null));
        QVERIFY(SettingsText::isStorable(1.5));
        QVERIFY(!SettingsText::isStorable(QJsonValue::Undefined));
        QVERIFY(!SettingsText::isStorable(std::numeric_limits<double>::quiet_NaN()));
        QVERIFY(!SettingsText::isStorable(
            json({ { "x", QJsonArray { -std::numeric_limits<double>::infinity() } } })));

        QJsonValue value = QJsonArray();
        int depth = 2;
        for (; SettingsText::isStorable(value); ++depth) {
            const auto parsed
                = SettingsText::parsed(SettingsText::serialised({ { QStringLiteral("k"), value } }));
            QCOMPARE(parsed.damage, QString());
            value = QJsonArray { value };
            QVERIFY(depth < 100);
        }
        QCOMPARE(depth, SettingsText::maximumDepth + 1);
    }

    void writtenTextIsSortedIndentedAndEndsWithALineEnd()
    {
        const QJsonObject values { { QStringLiteral("b"), true },
            { QStringLiteral("a"), QStringLiteral("\u00e4") }, { QStringLiteral("B"), 1.5 } };
        QCOMPARE(SettingsText::serialised(values),
            QByteArray("{\n    \"B\": 1.5,\n    \"a\": \"\xC3\xA4\",\n    \"b\": true\n}\n"));
    }

    void valuesOfEveryTypeSurviveARewrite()
    {
        const auto first = SettingsText::parsed(everyType);
        QCOMPARE(first.damage, QString());
        QCOMPARE(first.values.size(), 13);
        const QByteArray rewritten = SettingsText::serialised(first.values);
        const auto second = SettingsText::parsed(rewritten);
        QCOMPARE(second.damage, QString());
        QCOMPARE(second.values, first.values);
        QCOMPARE(SettingsText::serialised(second.values), rewritten);
        QVERIFY(rewritten.contains("9007199254740993"));
        QVERIFY(rewritten.contains("9223372036854775807"));
        QVERIFY(rewritten.contains(": 0.1"));
        QVERIFY(rewritten.contains(": -42"));
    }

    void aMarkAtTheStartOfATextIsKept()
    {
        const QString marked = QStringLiteral("\uFEFFx");
        const QJsonObject values { { marked, QJsonArray { marked, marked + marked } } };
        for (const QByteArray& text : { QByteArray("{\"\xEF\xBB\xBFx\": [\"\xEF\xBB\xBFx\", "
                                                   "\"\xEF\xBB\xBFx\xEF\xBB\xBFx\"]}"),
                 QByteArray(R"({"\ufeffx": ["\uFEFFx", "\ufeffx\ufeffx"]})"),
                 SettingsText::serialised(values), SettingsText::rewritten("{}", values) })
            QCOMPARE(SettingsText::parsed(text).values, values);
    }

    void hostileTextsTakeLinearTime()
    {
        QByteArray members = "{";
        for (int i = 60'000; i > 0; --i)
            members += "\"k" + QByteArray::number(i) + "\":1,";
        const qsizetype size = SettingsText::maximumBytes - 8;
        for (const QByteArray& text : { members, "{" + QByteArray(size, '['), "{" + QByteArray(size, '"'),
                 "{\"a\":" + QByteArray(size / 2, '{') + QByteArray(size / 2, '}') + 'x',
                 "{" + QByteArray("\"a\n").repeated(size / 3),
                 "{" + QByteArray("\"a\":[\n").repeated(size / 6), "{" + QByteArray("{}").repeated(size / 2),
                 QByteArray(size, '\\') }) {
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!SettingsText::parsed(text).damage.isEmpty());
            QVERIFY2(
                timer.elapsed() < 2000, text.left(20).constData()); // would take minutes in quadratic time
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsTextTest)
#include "SettingsTextTest.moc"
