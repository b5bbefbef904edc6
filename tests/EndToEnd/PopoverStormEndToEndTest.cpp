// Open popovers of the built agent, read once a second while the machine's load comes and goes: only values change, no part moves,
// and the agent's memory stays.

#include "tests/Support/FileContent.h"
#include "tests/Support/PopoverDesktopTest.h"

#include <QRegion>
#include <functional>
#include <unistd.h>

using namespace kestrum;

class PopoverStormEndToEndTest : public PopoverDesktopTest {
    Q_OBJECT

    /// How long all popovers together stay open: KESTRUM_STORM_SECONDS, or else 12 s. A long time also needs a larger
    /// QTEST_FUNCTION_TIMEOUT.
    static int seconds()
    {
        bool isNumber = false;
        const int wanted = qEnvironmentVariableIntValue("KESTRUM_STORM_SECONDS", &isNumber);
        return isNumber ? wanted : 12;
    }

    double residentMebibytes() const
    {
        const QByteArray statm = contentOf(text("/proc/%1/statm").arg(agent().processId()));
        return statm.split(' ').value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / 1024 / 1024;
    }

    /// The places of a popover's elements, and where it shows what may change. In points from its corner.
    struct Layout {
        QSize size;
        /// By role and title, which is what stands before the value. Those of apps have no title that stays.
        QMap<QString, QRect> places;
        QList<QRect> apps;
        QRegion values;
    };

    static QRect trailing(const QRect& rect, double share)
    {
        return rect.adjusted(int(rect.width() * share), 0, 0, 0);
    }

    static Layout layoutOf(const Popover& popover)
    {
        Layout layout;
        layout.size = DesktopFixture::geometry(popover.window).size();
        layout.values = QRect(120, 0, 120, 38); // the header's value
        QString group;
        const std::function<void(const Accessible&)> visit = [&](const Accessible& element) {
            const QString role = element.role();
            const QString name = element.name();
            const QString title = name.section(u',', 0, 0);
            const QRect place = popover.within(element);
            if (role == text("list item")
                && (name.contains(text(", cores ")) || name.contains(text(", memory "))
                    || name.contains(text(", read ")))) {
                layout.apps.append(place);
                return;
            }
            layout.places.insert(group + u'/' + role + u' ' + title, place);
            if (role == text("panel")) {
                group = title;
                // The rows of a list and the bars of cores that are all alike are shown without an element of their own,
                // while there is no app, or at all.
                if (title == text("APPS") || title == text("CORES"))
                    layout.values += place.adjusted(0, 25, 0, 0);
            } else if (role == text("list item") || role == text("label")) {
                layout.values += trailing(place, 0.45);
            } else if (role == text("graphic") || role == text("progress bar")) {
                layout.values += place.adjusted(-1, -1, 1, 1);
            }
            for (const Accessible& child : element.children())
                visit(child);
        };
        for (const Accessible& child : popover.dialog.children())
            visit(child);
        // Below the list of the CPU's apps, only the values of rows change.
        for (const char* title : { "Temperature", "Power", "Frequency", "Load", "Uptime" }) {
            if (const QRect row = layout.places.value(text("APPS/list item ") + text(title)); !row.isNull())
                layout.values -= row.adjusted(0, 0, -int(row.width() * 0.55), 0);
        }
        return layout;
    }

    /// The differences of two layouts, in words. Rows of apps may come and go, but only at their places below one another.
    static QStringList differences(const Layout& before, const Layout& now)
    {
        QStringList found;
        if (before.size != now.size)
            found.append(text("the window's size"));
        if (before.places.keys() != now.places.keys())
            found.append(before.places.keys() + words("instead of") + now.places.keys());
        for (auto place = before.places.begin(); place != before.places.end(); ++place) {
            if (now.places.value(place.key()) != place.value())
                found.append(place.key());
        }
        for (qsizetype i = 0; i < std::min(before.apps.size(), now.apps.size()); ++i) {
            if (before.apps[i] != now.apps[i])
                found.append(text("app %1").arg(i));
        }
        return found;
    }

    /// The pixels that differ outside of values.
    static QRect strayPixels(const QImage& before, const QImage& now, const QRegion& values)
    {
        QRegion different;
        for (int y = 0; y < before.height(); ++y) {
            for (int x = 0; x < before.width(); ++x) {
                if (before.pixel(x, y) != now.pixel(x, y) && !values.contains(QPoint(x, y)))
                    different += QRect(x, y, 1, 1);
            }
        }
        return different.boundingRect();
    }

    /// Holds an open popover for some seconds, with load in every second one.
    void hold(const QString& section, int duration)
    {
        const Popover popover = open(section);
        QVERIFY(popover.isOpen());
        DesktopFixture::moveTo({ 300, 700 });
        // Which rows there are is decided by the first two readings. The second one follows soon.
        QTest::qWait(1000);
        const Layout layout = layoutOf(popover);
        const QImage first = popover.picture();
        QCOMPARE_GE(layout.places.size(), 3); // the header's
        std::unique_ptr<QProcess> load;
        for (int second = 0; second < duration; ++second) {
            if (load) {
                Programs::end(*load);
                load.reset();
            } else {
                load = Programs::started(text("sh"), { text("-c"), text("while :; do :; done") });
            }
            QTest::qWait(1000);
            const QStringList moved = differences(layout, layoutOf(popover));
            QVERIFY2(moved.isEmpty(), qPrintable(section + text(": ") + moved.join(text(", "))));
            const QImage now = popover.picture();
            m_pictures += 1;
            m_changed += int(now != first);
            const QRect stray = strayPixels(first, now, layout.values);
            if (!stray.isNull()) {
                const QString kept = qEnvironmentVariable("KESTRUM_BUILD") + text("/popover-%1.png");
                first.save(kept.arg(text("before")));
                now.save(kept.arg(text("after")));
            }
            QVERIFY2(stray.isNull(),
                qPrintable(text("%1: pixels at %2, %3 to %4, %5")
                               .arg(section)
                               .arg(stray.left())
                               .arg(stray.top())
                               .arg(stray.right())
                               .arg(stray.bottom())));
        }
        if (load)
            Programs::end(*load);
        closePopover();
    }

    int m_pictures = 0;
    int m_changed = 0;

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        DesktopFixture::moveTo({ 300, 700 });
        startAgent();
    }
    void cleanup() { endAgent(); }

    void onlyValuesChangeAndMemoryStays()
    {
        // What is made only once: fonts, languages, the first window.
        for (const QString& section : sections) {
            QVERIFY(open(section).isOpen());
            QTest::qWait(200);
            closePopover();
        }
        const double before = residentMebibytes();
        for (const QString& section : sections) {
            hold(section, seconds() / int(sections.size()));
            if (QTest::currentTestFailed())
                return;
        }
        const double after = residentMebibytes();
        qInfo("%d pictures, %d with changed values; %.1f MiB more", m_pictures, m_changed, after - before);
        QCOMPARE_GE(m_changed, m_pictures / 4); // it was live
        if (!Programs::areSanitized)            // the sanitizer keeps freed memory
            QVERIFY2(after - before < 4, qPrintable(QString::number(after - before)));
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverStormEndToEndTest)
#include "PopoverStormEndToEndTest.moc"
