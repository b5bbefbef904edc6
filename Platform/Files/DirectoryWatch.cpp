// SPDX-License-Identifier: MIT
#include "Platform/Files/DirectoryWatch.h"

#include "Platform/Files/InotifyDispatcher.h"

#include <QDir>
#include <QFile>
#include <utility>

namespace kestrum {

namespace {

// The root, each directory below it, and `directory` itself.
QByteArrayList ancestors(const QString& directory)
{
    const QByteArray path = QFile::encodeName(QDir::cleanPath(QDir::current().absoluteFilePath(directory)));
    QByteArrayList paths { "/" };
    for (qsizetype end = path.indexOf('/', 1); end > 0; end = path.indexOf('/', end + 1))
        paths.append(path.left(end));
    if (path != paths.first())
        paths.append(path);
    return paths;
}

} // namespace

DirectoryWatch::DirectoryWatch(const QString& directory, Interest interest, Handler handler)
    : m_subscription(std::make_shared<Subscription>())
{
    m_subscription->paths = ancestors(directory);
    m_subscription->interest = interest;
    m_subscription->handler = std::move(handler);
    InotifyDispatcher::shared().add(m_subscription);
}

DirectoryWatch::~DirectoryWatch()
{
    InotifyDispatcher::shared().remove(m_subscription);
}

QByteArrayList DirectoryWatch::takePending()
{
    return InotifyDispatcher::shared().takePending(*m_subscription);
}

bool DirectoryWatch::isNotified() const
{
    return !m_subscription->isPolled;
}

} // namespace kestrum
