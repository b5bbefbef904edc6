#pragma once

#include "Platform/Store/UserDefaults.h"
#include "tests/Support/TestHome.h"

#include <QFile>
#include <memory>

namespace kestrum {

/// A settings suite for each test, and an administrator's directory for it, `root()`/xdg.
class OwnSuite {
protected:
    void nextSuite()
    {
        m_suite = QStringLiteral("suite.%1").arg(++m_number);
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(TestHome::root() + QStringLiteral("/xdg")));
    }
    std::unique_ptr<UserDefaults> opened() const { return UserDefaults::withSuiteName(m_suite); }
    QString path() const { return TestHome::configDirectory() + u'/' + m_suite + QStringLiteral(".json"); }

    QString m_suite;

private:
    int m_number = 0;
};

} // namespace kestrum
