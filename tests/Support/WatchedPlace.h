#pragma once

#include "Platform/Files/DirectoryWatch.h"
#include "tests/Support/PendingEvents.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace kestrum {

/// A watch, and the entries that it reported.
struct WatchRecorder {
    explicit WatchRecorder(
        const QString& directory, DirectoryWatch::Interest interest = DirectoryWatch::Interest::content)
        : watch(std::make_unique<DirectoryWatch>(
            directory, interest, [this](const QByteArray& entry) { told.append(entry); }))
    {
    }
    bool heard(const char* entry) const { return told.contains(QByteArray(entry)); }

    QByteArrayList told;
    std::unique_ptr<DirectoryWatch> watch;
};

/// A temporary folder for each test, which contains a folder "d". All names are relative to the temporary folder.
class WatchedPlace {
protected:
    void makePlace()
    {
        m_place = std::make_unique<QTemporaryDir>();
        makeDirectory("d");
    }
    QString path(const char* name) const { return m_place->filePath(QString::fromLatin1(name)); }
    QByteArray encoded(const char* name) const { return QFile::encodeName(path(name)); }
    void makeDirectory(const char* name) const { QCOMPARE(::mkdir(encoded(name).constData(), 0700), 0); }
    void write(const char* name, const QByteArray& text = "x") const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QCOMPARE(file.write(text), text.size());
    }
    void touch(const char* name) const
    {
        QCOMPARE(::utimensat(AT_FDCWD, encoded(name).constData(), nullptr, 0), 0);
    }
    void rename(const char* from, const char* to) const
    {
        QCOMPARE(::rename(encoded(from).constData(), encoded(to).constData()), 0);
    }
    // Checks that the watch works for the directory that has this name now: it must report a new entry there.
    void verifyHears(WatchRecorder& ear, const char* directory) const
    {
        deliverPendingEvents();
        ear.told.clear();
        write((QByteArray(directory) + "/probe").constData());
        QTRY_VERIFY(ear.heard("probe"));
    }

    std::unique_ptr<QTemporaryDir> m_place;
};

} // namespace kestrum
