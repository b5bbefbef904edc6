#include "Platform/Log/Log.h"
#include "Platform/Log/JournalSocket.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <fcntl.h>
#include <functional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kestrum;

namespace {

/// The text that `work` writes to standard error with the log's own message handler.
QByteArray logged(const std::function<void()>& work)
{
    const QString path = TestHome::root() + QStringLiteral("/stderr");
    const int saved = ::dup(STDERR_FILENO);
    const int file
        = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ::dup2(file, STDERR_FILENO);
    const QtMessageHandler previous = qInstallMessageHandler(nullptr);
    Log::install();
    work();
    qInstallMessageHandler(previous);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(file);
    return contentOf(path);
}

/// A socket that stands in for the journal's socket.
struct Journal {
    static QByteArray path() { return QFile::encodeName(TestHome::root() + QStringLiteral("/journal")); }
    Journal()
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path().constData(), sizeof address.sun_path);
        isThere = ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~Journal()
    {
        ::close(socket);
        ::unlink(path().constData());
    }
    Q_DISABLE_COPY_MOVE(Journal)
    int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    bool isThere = false;
};

} // namespace

class LogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void controlCharactersAreEscaped_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("escaped");
        const auto row = [](const char* name, const QString& value, const char* escaped) {
            QTest::newRow(name) << value << QString::fromUtf8(escaped);
        };
        row("plain", QStringLiteral("/home/a b"), "/home/a b");
        row("line end", QStringLiteral("a\nb"), "a\\nb");
        row("escaped line end and separator", QStringLiteral("a\\n\u2028b"), "a\\n\\u2028b");
        row("carriage return and tab", QStringLiteral("\r\t"), "\\r\\t");
        row("zero", QString(QChar(u'\0')), "\\x00");
        row("escape", QString(QChar(0x1b)) + QStringLiteral("[2J"), "\\x1b[2J");
        row("delete", QString(QChar(0x7f)), "\\x7f");
        row("C1", QString(QChar(0x9b)) + QString(QChar(0x85)), "\\x9b\\x85");
        row("line and paragraph separator", QString(QChar(0x2028)) + QString(QChar(0x2029)),
            "\\u2028\\u2029");
        row("direction marks", QString(QChar(0x202e)) + QString(QChar(0x2066)) + QString(QChar(0x061c)),
            "\\u202e\\u2066\\u061c");
        row("umlaut and beyond the first plane", QStringLiteral(u"\u00e4\U0001F600"), "ä😀");
        row("half a pair", QString(QChar(0xd800)) + QStringLiteral("x"), "\uFFFDx");
    }

    void controlCharactersAreEscaped()
    {
        QFETCH(const QString, value);
        QTEST(Log::escaped(value), "escaped");
        QTEST(Log::escaped(Log::escaped(value)), "escaped"); // a second escape changes nothing
    }

    void valueIsCutAt256BytesOnACharacterBoundary()
    {
        const auto x = [](int count) { return QString(count, u'x'); };
        QCOMPARE(Log::escaped(x(256)), x(256));
        QCOMPARE(Log::escaped(x(257)), x(256));
        // 85 letters of 3 bytes take 255 bytes, and one more does not fit.
        QCOMPARE(Log::escaped(QString(100, u'\u20ac')), QString(85, u'\u20ac'));
        const QString faces = QStringLiteral(u"\U0001F600").repeated(100);
        QCOMPARE(Log::escaped(faces), faces.left(2 * 64));
        // An escape is not cut in the middle.
        QCOMPARE(Log::escaped(x(253) + QChar(0x1b)), x(253));
        QCOMPARE(Log::escaped(x(252) + QChar(0x1b)), x(252) + QStringLiteral("\\x1b"));
    }

    void aHugeValueIsAShortLineAtOnce()
    {
        const QString huge = (QString(QChar(0x1b)) + QStringLiteral("\n\u2028x")).repeated(2'500'000);
        QElapsedTimer time;
        time.start();
        const QString escaped = Log::escaped(huge);
        QVERIFY2(time.elapsed() < 100, QByteArray::number(time.elapsed()).constData());
        QVERIFY(escaped.startsWith(QStringLiteral("\\x1b\\n\\u2028x\\x1b")));
        QVERIFY(escaped.size() > 240 && escaped.size() <= 256);
    }

    void longPathLeavesRoomForTheReason()
    {
        const QString path(300, u'p');
        const Failure failure { QStringLiteral("save"), QStringLiteral("No space\nleft"), 0, path };
        QCOMPARE(Log::escaped(failure), path.first(256) + QStringLiteral(": cannot save: No space\\nleft"));
    }

    void categoryIsNamedAfterItsArea()
    {
        QCOMPARE(QByteArray(Log::category("links").categoryName()), QByteArray("com.orvale.kestrum.links"));
        QVERIFY(Log::category("links").isWarningEnabled());
        QCOMPARE(&Log::category("links"), &Log::category(QByteArray("links").constData()));
        QVERIFY(&Log::category("links") != &Log::category("loginItem"));
    }

    void areaHasOneCategoryFromAllThreads()
    {
        constexpr int threads = 4;
        constexpr int areas = 50;
        QList<const QLoggingCategory*> found[threads];
        std::vector<std::unique_ptr<QThread>> running;
        for (auto& list : found) {
            running.emplace_back(QThread::create([&list] {
                for (int i = 0; i < areas; ++i)
                    list.append(&Log::category(("area" + QByteArray::number(i)).constData()));
            }));
            running.back()->start();
        }
        for (const auto& thread : running)
            QVERIFY(thread->wait(10'000));
        for (const auto& list : found)
            QCOMPARE(list, found[0]);
    }

    void messageIsOneLineWithItsCategoryAndAWarningIsGivenOnce()
    {
        const QByteArray text = logged([] {
            Log::warning("links", QStringLiteral("no \"agent\""));
            Log::info("links", QStringLiteral("starting"));
            Log::warnOnce("test", QStringLiteral("first"));
            Log::warnOnce("test", QStringLiteral("first"));
            Log::warnOnce("test", QStringLiteral("second"));
            qWarning("of Qt\nforged");
        });
        QCOMPARE(text,
            QByteArray("com.orvale.kestrum.links: warning: no \"agent\"\n"
                       "com.orvale.kestrum.links: info: starting\n"
                       "com.orvale.kestrum.test: warning: first\n"
                       "com.orvale.kestrum.test: warning: second\n"
                       "default: warning: of Qt\\nforged\n"));
    }

    void journalIsKnownByDeviceAndInode()
    {
        struct stat state { };
        QCOMPARE(::fstat(STDERR_FILENO, &state), 0);
        const QByteArray device = QByteArray::number(quint64(state.st_dev));
        const QByteArray inode = QByteArray::number(quint64(state.st_ino));
        const auto isJournal = [](const QByteArray& stream) {
            qputenv("JOURNAL_STREAM", stream);
            const bool result = JournalSocket::isStandardError();
            qunsetenv("JOURNAL_STREAM");
            return result;
        };
        QVERIFY(isJournal(device + ':' + inode));
        QVERIFY(!isJournal(device + ':' + inode + '1'));
        QVERIFY(!isJournal('1' + device + ':' + inode));
        QVERIFY(!isJournal(device));
        QVERIFY(!isJournal("x:y"));
        QVERIFY(!JournalSocket::isStandardError());
    }

    void journalEntryHasNativeFields()
    {
        const Journal journal;
        QVERIFY(journal.isThere);
        const JournalSocket socket(Journal::path().constData());
        QVERIFY(socket.send(JournalSocket::entry(QtWarningMsg, "com.orvale.kestrum.store", "full")));
        QVERIFY(socket.send(JournalSocket::entry(QtInfoMsg, "default", "x")));
        char buffer[512];
        const auto received = [&] {
            const ssize_t size = ::recv(journal.socket, buffer, sizeof buffer, 0);
            return QByteArray(buffer, qMax<qsizetype>(0, size));
        };
        QCOMPARE(received(),
            QByteArray("MESSAGE=full\nPRIORITY=4\nSYSLOG_IDENTIFIER=PlatformTests\nQT_CATEGORY=com.orvale."
                       "kestrum.store\n"));
        QCOMPARE(received(),
            QByteArray("MESSAGE=x\nPRIORITY=6\nSYSLOG_IDENTIFIER=PlatformTests\nQT_CATEGORY=default\n"));
    }

    void journalThatIsNotThereTakesNothing()
    {
        const JournalSocket socket("/nowhere/socket");
        QVERIFY(!socket.send(JournalSocket::entry(QtWarningMsg, "default", "x")));
        const QByteArray tooLong("/" + QByteArray(200, 'x'));
        QVERIFY(!JournalSocket(tooLong.constData()).send("MESSAGE=x\n"));
    }

    void journalThatReadsNothingHoldsNobodyUp()
    {
        const Journal journal;
        QVERIFY(journal.isThere);
        const JournalSocket socket(Journal::path().constData());
        const QByteArray entry = JournalSocket::entry(QtInfoMsg, "default", QByteArray(4096, 'x'));
        bool isTaken = true;
        ::alarm(10); // ends the test if send() blocks
        for (int i = 0; i < 100'000 && isTaken; ++i)
            isTaken = socket.send(entry);
        ::alarm(0);
        QVERIFY(!isTaken);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LogTest)
#include "LogTest.moc"
