// What the popovers of the built agent say while the machine works, against this test's own reading of the kernel at the same time.

#include "tests/Support/FileContent.h"
#include "tests/Support/PopoverDesktopTest.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <atomic>
#include <cmath>
#include <fcntl.h>
#include <functional>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr int lookPause = 50;  ///< ms between two looks
constexpr double interval = 1; ///< s between two readings of the agent, its default

/// How long each load runs: a third of KESTRUM_LOAD_SECONDS, or else 3 s. Long ones also need a larger QTEST_FUNCTION_TIMEOUT.
double loadSeconds()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("KESTRUM_LOAD_SECONDS", &isNumber);
    return isNumber ? std::max(wanted / 3.0, 3.0) : 3;
}

// The kernel's numbers, read by other code than the agent's

/// The processor time of all cores together, in hundredths of a second: time with work to do, and all time.
std::pair<double, double> processorTimes()
{
    const QByteArray first = contentOf(text("/proc/stat")).split('\n').first();
    const QByteArrayList numbers
        = first.simplified().split(' ').mid(1, 8); // the rest are in the others already
    double all = 0;
    for (const QByteArray& number : numbers)
        all += number.toDouble();
    return { all - numbers.value(3).toDouble() - numbers.value(4).toDouble(), all };
}

/// A line of "/proc/meminfo", in bytes.
double memory(const char* name)
{
    const QByteArray content = contentOf(text("/proc/meminfo"));
    const auto found
        = QRegularExpression(text("^%1: *(\\d+) kB").arg(text(name)), QRegularExpression::MultilineOption)
              .match(QString::fromLatin1(content));
    return found.captured(1).toDouble() * 1024;
}

/// What all disks have written since the start, in bytes.
double writtenBytes()
{
    static const QRegularExpression memory(text("^(loop|ram|zram|zd)\\d"));
    double sectors = 0;
    for (const QByteArray& line : contentOf(text("/proc/diskstats")).split('\n')) {
        const QByteArrayList fields = line.simplified().split(' ');
        const QString name = QString::fromLatin1(fields.value(2));
        const QDir folder(text("/sys/block/") + name);
        if (fields.size() < 10 || name.contains(memory) || !folder.exists())
            continue;
        if (QDir(folder.filePath(text("slaves"))).isEmpty())
            sectors += fields[9].toDouble();
    }
    return sectors * 512;
}

// What the popovers say

/// The first number of a text with its unit in bytes, or without one: "48.1 MB/s", "1,012 MB", "49 %". −1 without a number.
double number(const QString& said, double step)
{
    static const QRegularExpression amount(text("([\\d.,]+)\\s*([kMGT]?)"));
    const auto found = amount.match(said);
    const qsizetype power = text("kMGT").indexOf(found.captured(2)) + 1;
    return !found.hasMatch() ? -1
                             : found.captured(1).remove(u',').toDouble()
            * (found.captured(2).isEmpty() ? 1 : std::pow(step, double(power)));
}

/// Bytes are counted in thousands for disks, and in 1024s for memory.
constexpr double thousands = 1000;
constexpr double binary = 1024;

/// What was said, and what was counted, at many moments.
struct Watch {
    struct Look {
        double seconds;
        double said;
        double counted;
        double whole;
    };
    QList<Look> looks;

    /// The mean of what was said at `count` readings of the agent, and the mean of what was counted over the same time.
    struct Means {
        double said;
        double counted;
    };

    /// When the agent reads is not told. Among all possible moments these are those at which its texts fit best, one by one.
    Means means() const
    {
        const int readings = int((looks.last().seconds - looks.first().seconds) / interval) - 1;
        Means best {};
        double least = 1e300;
        for (double begin = 0; begin < interval; begin += 0.01) {
            const double first = looks.first().seconds + interval + begin;
            double error = 0;
            double said = 0;
            for (int i = 0; i < readings; ++i) {
                const double reading = first + i * interval;
                const double shown = at(reading + interval / 2, &Look::said);
                error += std::abs(shown - rate(reading - interval, reading));
                said += shown;
            }
            if (error >= least)
                continue;
            least = error;
            best = { said / readings, rate(first - interval, first + (readings - 1) * interval) };
        }
        return best;
    }

private:
    double at(double seconds, double Look::*what) const
    {
        const auto next = std::lower_bound(looks.begin(), looks.end(), seconds,
            [](const Look& look, double limit) { return look.seconds < limit; });
        if (next == looks.begin() || next == looks.end())
            return (next == looks.begin() ? looks.first() : looks.last()).*what;
        const Look& before = *std::prev(next);
        if (what == &Look::said)
            return before.said; // it stays until it changes
        const double share = (seconds - before.seconds) / (next->seconds - before.seconds);
        return before.*what + share * ((*next).*what - before.*what);
    }
    double rate(double from, double to) const
    {
        return (at(to, &Look::counted) - at(from, &Look::counted))
            / (at(to, &Look::whole) - at(from, &Look::whole));
    }
};

double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The smallest and the largest of what was counted lately.
class Recent {
public:
    explicit Recent(double seconds)
        : m_seconds(seconds)
    {
    }
    void add(double value)
    {
        m_values.append({ now(), value });
        while (m_values.size() > 1 && m_values[1].first < now() - m_seconds) {
            m_values.removeFirst();
            m_isFull = true;
        }
    }
    /// Whether values go back as far as they should.
    bool isFull() const { return m_isFull; }
    double least() const { return std::min_element(m_values.begin(), m_values.end(), isLess)->second; }
    double most() const { return std::max_element(m_values.begin(), m_values.end(), isLess)->second; }

private:
    using Value = std::pair<double, double>;
    static bool isLess(const Value& one, const Value& other) { return one.second < other.second; }

    double m_seconds;
    QList<Value> m_values;
    bool m_isFull = false;
};

/// Writes to a disk until its end, about 20 MB a second.
class DiskLoad {
public:
    DiskLoad()
        : m_path(QFile::encodeName(TestHome::root() + text("/load")))
        , m_thread([this] { work(); })
    {
    }
    ~DiskLoad()
    {
        m_ends = true;
        m_thread.join();
        ::unlink(m_path.constData());
    }
    Q_DISABLE_COPY_MOVE(DiskLoad)

private:
    void work() const
    {
        static constexpr qsizetype block = 1 << 20;
        static constexpr int blocks = 32; // the file does not grow any more: the free space stays
        const int file = ::open(m_path.constData(), O_WRONLY | O_CREAT | O_DSYNC | O_CLOEXEC, 0600);
        const QByteArray content(block, 'x');
        for (int i = 0; !m_ends; ++i) {
            if (::pwrite(file, content.constData(), block, off_t(i % blocks) * block) != block)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ::close(file);
    }

    QByteArray m_path;
    std::atomic<bool> m_ends = false;
    std::thread m_thread;
};

} // namespace

class PopoverLoadEndToEndTest : public PopoverDesktopTest {
    Q_OBJECT

    /// The text after the title of a row; empty if there is no such row.
    static QString row(const Popover& popover, const char* title)
    {
        const QString begin = text(title) + text(", ");
        const QList<Accessible> rows = popover.dialog.findAll(text("list item"));
        for (const Accessible& row : rows) {
            if (const QString name = row.name(); name.startsWith(begin))
                return name.mid(begin.size());
        }
        return {};
    }
    static QString header(const Popover& popover) { return popover.dialog.name().section(u',', 1); }

    static Watch watched(const std::function<Watch::Look()>& look)
    {
        Watch watch;
        QElapsedTimer timer;
        timer.start();
        while (double(timer.elapsed()) / 1000 < loadSeconds() + interval) {
            Watch::Look seen = look();
            seen.seconds = double(timer.elapsed()) / 1000;
            watch.looks.append(seen);
            QTest::qWait(lookPause);
        }
        return watch;
    }
private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        DesktopFixture::moveTo({ 300, 700 });
        startAgent();
    }
    void cleanup() { endAgent(); }

    void theUseOfTheProcessorsIsTheKernels()
    {
        const Popover popover = open(text("cpu"));
        QVERIFY(popover.isOpen());
        DesktopFixture::moveTo({ 300, 700 });
        const auto load = Programs::started(text("sh"), { text("-c"), text("while :; do :; done") });
        const Watch watch = watched([&popover] {
            const auto [busy, all] = processorTimes();
            return Watch::Look { 0, number(header(popover), thousands), 100 * busy, all };
        });
        Programs::end(*load);
        const auto means = watch.means();
        qInfo("CPU: said %.2f %%, counted %.2f %%", means.said, means.counted);
        QCOMPARE_GT(means.counted, 10.0); // there was load
        QCOMPARE_LE(std::abs(means.said - means.counted), 3.0);
    }

    void theUseOfMemoryIsTheKernels()
    {
        const Popover popover = open(text("memory"));
        QVERIFY(popover.isOpen());
        const QByteArray hog(qsizetype(std::min(memory("MemAvailable") / 4, 1e9)), 'x');
        // The agent's last reading is up to an interval old, and comes late on a busy machine.
        Recent used(interval + 0.5);
        Recent apps(interval + 0.5);
        double worst = 0;
        const auto compare = [&worst](double said, const Recent& counted) {
            const double nearest = std::clamp(said, counted.least(), counted.most());
            worst = std::max(worst, std::abs(said - nearest) / nearest);
        };
        for (const double end = now() + 2.5; now() < end; QTest::qWait(lookPause)) {
            used.add(memory("MemTotal") - memory("MemAvailable"));
            apps.add(memory("AnonPages") + memory("Shmem"));
            if (used.isFull()) {
                compare(number(row(popover, "Memory Used"), binary), used);
                compare(number(row(popover, "App Memory"), binary), apps);
            }
        }
        qInfo("memory: %.2f %% apart at most, %.0f MB used by this test", worst * 100,
            double(hog.size()) / 1e6);
        QVERIFY(used.isFull());
        QCOMPARE_GT(apps.least(), double(hog.size()));
        QCOMPARE_LE(worst, 0.01);
    }

    void whatDisksDoAndHoldIsTheKernels()
    {
        const Popover popover = open(text("storage"));
        QVERIFY(popover.isOpen());
        QTRY_VERIFY_WITH_TIMEOUT(!row(popover, "Write").isEmpty(), patience);
        const DiskLoad load;
        // Volumes are asked by a worker, whose answer is shown at the next reading.
        Recent shares(2 * interval + 0.5);
        Recent spaces(2 * interval + 0.5);
        QStringList wrong;
        int compared = 0;
        const Watch watch = watched([&] {
            struct statvfs root { };
            ::statvfs("/", &root);
            const double used = double(root.f_blocks - root.f_bfree);
            shares.add(std::round(100 * used / (used + double(root.f_bavail))));
            spaces.add(double(root.f_bavail) * double(root.f_frsize));
            const QString share = header(popover);
            const QString space = row(popover, "/");
            const double free = number(space, thousands);
            if (shares.isFull()) {
                ++compared;
                const double percent = number(share, thousands);
                if (percent < shares.least() || percent > shares.most())
                    wrong.append(share);
                // Shown with three digits.
                if (free < spaces.least() * 0.995 || free > spaces.most() * 1.005)
                    wrong.append(space);
            }
            return Watch::Look { 0, number(row(popover, "Write"), thousands), writtenBytes(), now() };
        });
        QCOMPARE_GE(compared, 3);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(u'\n')));
        const auto means = watch.means();
        qInfo("disk: said %.2f MB/s, counted %.2f MB/s", means.said / 1e6, means.counted / 1e6);
        if (means.counted < 1e6)
            QSKIP("the temporary folder is on no disk");
        QCOMPARE_LE(std::abs(means.said / means.counted - 1), 0.05);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverLoadEndToEndTest)
#include "PopoverLoadEndToEndTest.moc"
