// SPDX-License-Identifier: MIT
#include "Platform/Desktop/BusReturn.h"

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Files/DirectoryWatch.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace kestrum {

namespace {

using namespace std::chrono_literals;

/// A bus that is gone is seldom back soon, since the session goes with it. Each time, the wait is twice as long.
constexpr std::chrono::milliseconds firstWait = 1s;
constexpr std::chrono::milliseconds longestWaitForBus = 5min;
/// A new bus makes its socket a moment before it can be joined.
constexpr std::chrono::milliseconds afterSocket = 100ms;

} // namespace

BusReturn::BusReturn(QObject* parent)
    : QObject(parent)
    , m_wait(firstWait)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &BusReturn::expected);
}

BusReturn::~BusReturn() = default;

void BusReturn::wait()
{
    m_timer.start(m_wait);
    m_wait = std::min(2 * m_wait, longestWaitForBus);
    const QString socket = DesktopBus::socketFile();
    if (m_watch || socket.isEmpty())
        return;
    const QFileInfo file(socket);
    m_watch = std::make_unique<DirectoryWatch>(file.path(), DirectoryWatch::Interest::content,
        [this, socket, name = QFile::encodeName(file.fileName())](const QByteArray& entry) {
            if ((entry.isEmpty() || entry == name) && QFile::exists(socket))
                come();
        });
}

/// The socket is there. It may be a new one, so the waits are short again.
void BusReturn::come()
{
    if (!m_timer.isActive())
        return; // it is being joined
    m_timer.start(afterSocket);
    m_wait = firstWait;
}

void BusReturn::stop()
{
    m_timer.stop();
    m_wait = firstWait;
    m_watch.reset();
}

} // namespace kestrum
