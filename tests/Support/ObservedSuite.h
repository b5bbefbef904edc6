#pragma once

// The event loop of these tests runs only while they wait, so all writes between two waits belong to one turn of the loop.

#include "tests/Support/JsonValues.h"
#include "tests/Support/OwnSuite.h"
#include "tests/Support/PendingEvents.h"

#include <QByteArrayList>
#include <QDir>
#include <QTest>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

/// A settings suite for each test, with an observer and functions that edit the suite's file.
class ObservedSuite : protected OwnSuite {
protected:
    static constexpr int longestDelay = 1000;

    struct Observed {
        explicit Observed(const QString& suite)
            : store(UserDefaults::withSuiteName(suite))
        {
            QObject::connect(store.get(), &UserDefaults::changed, [this](const QStringList& changed) {
                ++notices;
                keys.append(changed.join(u',').toUtf8());
            });
        }
        /// Waits until all changes so far have been handled, and returns the number of notices.
        int settled() const
        {
            deliverPendingEvents();
            return notices;
        }
        /// Waits until all changes so far have been handled. Returns the keys of each notice since the last call.
        QByteArrayList named()
        {
            deliverPendingEvents();
            return std::exchange(keys, {});
        }

        int notices = 0;
        QByteArrayList keys;
        std::unique_ptr<UserDefaults> store;
    };

    /// Writes the file in place. Its folder must exist.
    static void write(const QString& path, const QByteArray& content)
    {
        const int file
            = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        QVERIFY(file >= 0);
        QCOMPARE(::write(file, content.constData(), size_t(content.size())), ssize_t(content.size()));
        ::close(file);
    }
    /// Replaces the file by another one.
    static void replace(const QString& path, const QByteArray& content)
    {
        write(path + u'~', content);
        QCOMPARE(
            ::rename(QFile::encodeName(path + u'~').constData(), QFile::encodeName(path).constData()), 0);
    }
    static QByteArray textOf(int value) { return "{\n    \"a\": " + QByteArray::number(value) + "\n}\n"; }
};

} // namespace kestrum
