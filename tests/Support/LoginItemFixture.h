#pragma once

#include "Platform/Bundle/Bundle.h"
#include "Platform/LoginItem/LoginItemService.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <memory>

namespace kestrum {

/// What tests of the login item stand on: an ordinary user, since root gets none, a bundle with an agent, and that user's
/// autostart folder, empty. The agent writes its own path to the file "started" in the home.
class LoginItemFixture {
public:
    LoginItemFixture()
        : m_user(
            { TestHome::root(), TestHome::root() + QStringLiteral("/.config"), TestHome::runtimeDirectory() })
        , m_before(Bundle::main())
    {
        // Whatever desktop the tests run on.
        qunsetenv("XDG_CURRENT_DESKTOP");
        clear();
        m_tree = std::make_unique<FileTree>();
        makeProgram(agentProgram());
        Bundle::setMain(Bundle(bundlePath()));
    }
    ~LoginItemFixture() { Bundle::setMain(m_before); }
    Q_DISABLE_COPY_MOVE(LoginItemFixture)

    /// No entries and no folder for them, and nothing was started.
    static void clear()
    {
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QDir(folder()).removeRecursively();
        QFile::remove(folder());
        QFile::remove(startedFile());
    }

    QString bundlePath() const { return m_tree->path(QStringLiteral("Kestrum.app")); }
    QString agentBundle() const { return StandIns::agentBundleOf(bundlePath()); }
    QString agentProgram() const { return StandIns::agentOf(bundlePath()); }

    static QString folder() { return TestHome::root() + QStringLiteral("/.config/autostart"); }
    static QString entry() { return folder() + QStringLiteral("/com.orvale.kestrum.agent.desktop"); }
    static QString startedFile() { return TestHome::root() + QStringLiteral("/started"); }

    /// A program that can be run, and that says by which path it was, and with which argument.
    static void makeProgram(const QString& path)
    {
        write(path, "#!/bin/sh\nprintf '%s' \"$0${1:+ $1}\" > '" + QFile::encodeName(startedFile()) + "'\n");
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    LoginItemService service() const
    {
        return { QStringLiteral("com.orvale.kestrum.agent"), agentProgram(), QStringLiteral("Kestrum") };
    }

private:
    OrdinaryUser m_user;
    Bundle m_before;
    std::unique_ptr<FileTree> m_tree;
};

} // namespace kestrum
