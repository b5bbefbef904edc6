#include "Platform/Processes/ProgramStart.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrum;

namespace {

/// Lets a test change one of this process's standard streams. The destructor restores the stream.
class ChangedStream {
public:
    explicit ChangedStream(int stream)
        : m_stream(stream)
        , m_saved(::fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
    {
    }
    ~ChangedStream()
    {
        ::dup2(m_saved, m_stream);
        ::close(m_saved);
    }
    Q_DISABLE_COPY_MOVE(ChangedStream)

private:
    int m_stream;
    int m_saved;
};

} // namespace

class ProgramStartTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        if (m_pid <= 0)
            return;
        StandIns::kill(m_pid);
        ::waitpid(std::exchange(m_pid, 0), nullptr, 0);
    }

    void streamThatIsClosedOrToBeClosedGoesNowhere()
    {
        const struct {
            const char* name;
            int stream;
            bool isToBeClosed; ///< starting a program closes this descriptor
        } rows[] {
            { "output", STDOUT_FILENO, false },
            { "errors", STDERR_FILENO, false },
            { "output, to be closed", STDOUT_FILENO, true },
            { "errors, to be closed", STDERR_FILENO, true },
            { "input", STDIN_FILENO, false },
        };
        for (const auto& row : rows) {
            QStringList streams;
            {
                const ChangedStream changed(row.stream);
                if (!row.isToBeClosed) {
                    ::close(row.stream);
                } else {
                    // If a program has no standard streams, the next file that it opens gets the number of such a stream.
                    const QString path = m_standIns.path(QStringLiteral("file"));
                    const int file
                        = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
                    ::dup3(file, row.stream, O_CLOEXEC);
                    ::close(file);
                }
                streams = streamsOfStarted();
            }
            cleanup();
            QCOMPARE_ROW(row.name, streams[row.stream], QStringLiteral("/dev/null"));
        }
    }

    void nothingElseOfOursIsOpenInTheProgram()
    {
        // Libraries also open files, and not all of them set O_CLOEXEC.
        const int ours = ::open("/dev/null", O_RDONLY); // NOLINT(android-cloexec-open)
        QVERIFY(ours > STDERR_FILENO);
        const int moved = ::dup2(ours, 200); // above the descriptors that are closed one by one
        streamsOfStarted();
        ::close(moved);
        ::close(ours);
        QStringList open = QDir(QStringLiteral("/proc/%1/fd").arg(m_pid))
                               .entryList(QDir::Files | QDir::System | QDir::Dirs | QDir::NoDotAndDotDot);
        open.sort();
        QCOMPARE(open, (QStringList { QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2") }));
    }

    void variablesOfThisProcessAloneAreNotInTheProgram()
    {
        ProgramStart::setOwnVariable("KESTRUM_TEST_OWN", "1");
        qputenv("KESTRUM_TEST_COMMON", "1");
        QCOMPARE(qgetenv("KESTRUM_TEST_OWN"), "1");
        streamsOfStarted();
        qunsetenv("KESTRUM_TEST_OWN");
        qunsetenv("KESTRUM_TEST_COMMON");
        // The kernel shows it a moment after the start.
        QList<QByteArray> environment;
        const auto read = [this, &environment] {
            environment = contentOf(QStringLiteral("/proc/%1/environ").arg(m_pid)).split('\0');
            return environment.contains("KESTRUM_TEST_COMMON=1");
        };
        QTRY_VERIFY_WITH_TIMEOUT(read(), 5000);
        QVERIFY(!environment.contains("KESTRUM_TEST_OWN=1"));
    }

private:
    /// Starts the stand-in and returns the targets of its three standard streams.
    QStringList streamsOfStarted()
    {
        static const QByteArray program = QFile::encodeName(m_standIns.install(QStringLiteral("program")));
        const auto started = ProgramStart::start(program, {});
        m_pid = started ? *started : 0;
        QStringList result;
        for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
            result.append(QFile::symLinkTarget(QStringLiteral("/proc/%1/fd/%2").arg(m_pid).arg(stream)));
        return result;
    }

    StandIns m_standIns;
    qint32 m_pid = 0;
};

KESTRUM_TEST_MAIN(QCoreApplication, ProgramStartTest)
#include "ProgramStartTest.moc"
