// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Window/SettingsPage.h"
#include "tests/Support/DayDesk.h"
#include "tests/Support/DesktopFixture.h"
#include "tests/Support/StormWriter.h"
#include "tests/Support/TestHome.h"

#include <QImage>

namespace kestrum {

/// Pictures of the settings window of a `DayDesk`.
class DayPages {
public:
    DayPages(const DayDesk& desk, StormWriter& writer)
        : m_desk(desk)
        , m_writer(writer)
    {
    }

    /// The page that is displayed now. Nothing is written for it.
    QImage present() const
    {
        const QRect place(40, 40, 720, 600);
        const QByteArray window = DesktopFixture::windowOf(m_desk.window());
        VirtualDisplay::xdotool("windowactivate --sync " + window);
        VirtualDisplay::xdotool("windowsize --sync " + window + " 720 600");
        VirtualDisplay::xdotool("windowmove " + window + " 40 40");
        QTest::qWait(800); // until all animations have finished
        const QString picture = TestHome::root() + text("/page.png");
        (void)m_desk.save(picture);
        return QImage(picture).copy(place);
    }

    QList<QImage> all() const
    {
        QList<QImage> pictures;
        for (const auto& page : allCases<SettingsPage>()) {
            m_writer.write(RandomWrites::lineOf(text("settingsPane"), text(page.rawValue)));
            (void)m_writer.isAnswered();
            pictures.append(present());
        }
        return pictures;
    }

    /// Fails the test, and keeps both pictures, if a page looks different.
    static void compare(const QList<QImage>& shown, const QList<QImage>& expected)
    {
        QCOMPARE(shown.size(), expected.size());
        for (qsizetype i = 0; i < shown.size(); ++i) {
            if (shown[i] == expected[i] && !expected[i].isNull())
                continue;
            const QString kept = qEnvironmentVariable("KESTRUM_BUILD") + text("/day-%1.png");
            shown[i].save(kept.arg(text("shown")));
            expected[i].save(kept.arg(text("expected")));
            QFAIL(qPrintable(text("page %1 looks different, see ").arg(i) + kept));
        }
    }

private:
    const DayDesk& m_desk;
    StormWriter& m_writer;
};

} // namespace kestrum
