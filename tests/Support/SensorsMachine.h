#pragma once

#include "tests/Support/FileContent.h"

#include <QProcess>

namespace kestrum {

/// The program that reads sensors, run on a recorded machine of tests/machines. libsensors reads only "/sys", so umockdev
/// replaces that folder for the program. The destructor ends the program, by force after 5 s.
class SensorsMachine {
public:
    explicit SensorsMachine(const char* name)
    {
        // AddressSanitizer's library must be loaded first, but umockdev's library is loaded before it here.
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(
            QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0:detect_leaks=0"));
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral("umockdev-run"),
            { QStringLiteral("--device"),
                qEnvironmentVariable("KESTRUM_SOURCE")
                    + QStringLiteral("/tests/machines/%1.umockdev").arg(QLatin1StringView(name)),
                QStringLiteral("--"),
                qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/tests/SensorsProgram") });
        m_folder = QString::fromUtf8(line());
    }
    ~SensorsMachine()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    Q_DISABLE_COPY_MOVE(SensorsMachine)

    /// Asks the program and waits for its answer.
    QByteArray read(const QByteArray& question)
    {
        m_process.write(question + '\n');
        return line();
    }

    void write(const char* file, const QByteArray& content) const { kestrum::write(path(file), content); }
    void remove(const char* file) const { QVERIFY(QFile::remove(path(file))); }
    void rename(const char* file, const char* newName) const
    {
        QVERIFY(QFile::rename(path(file), path(newName)));
    }
    void link(const char* file, const char* target) const
    {
        QVERIFY(QFile::link(QLatin1StringView(target), path(file)));
    }

private:
    QString path(const char* file) const { return m_folder + u'/' + QLatin1StringView(file); }
    QByteArray line()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(20'000))
                return "no answer: " + m_process.readAllStandardError();
        }
        return m_process.readLine().trimmed();
    }

    QProcess m_process;
    QString m_folder;
};

} // namespace kestrum
