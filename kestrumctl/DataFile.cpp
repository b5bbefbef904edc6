// SPDX-License-Identifier: MIT
#include "kestrumctl/DataFile.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Log/Log.h"

#include <QFile>
#include <cstdio>

namespace kestrum {

namespace {

const QLatin1StringView standardStream("-");

Failure failed(const char* step, const QString& path, const QString& reason)
{
    return { QStringLiteral("%1 \"%2\"").arg(QLatin1StringView(step), Log::escaped(path)), reason, 0, {} };
}

} // namespace

Result<QByteArray> DataFile::read(const QString& path, qint64 maximumBytes)
{
    QFile file(path);
    const bool isOpen
        = path == standardStream ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!isOpen)
        return failed("read", path, file.errorString());
    QByteArray content;
    // A single read from a pipe returns only the available bytes. So the loop reads until the end.
    while (content.size() <= maximumBytes) {
        const QByteArray piece = file.read(maximumBytes + 1 - content.size());
        if (piece.isEmpty())
            break;
        content += piece;
    }
    if (file.error() != QFileDevice::NoError)
        return failed("read", path, file.errorString());
    if (content.size() > maximumBytes)
        return Failure::withReason(
            QStringLiteral("\"%1\" is larger than %2 bytes").arg(Log::escaped(path)).arg(maximumBytes));
    return content;
}

Result<> DataFile::write(const QString& path, const QByteArray& content)
{
    const bool isStream = path == standardStream;
    const auto replaced = isStream ? false : AtomicFile::replaceFile(QFile::encodeName(path), content);
    if (!replaced)
        return failed("write", path, replaced.failure().reason);
    if (*replaced)
        return {};
    QFile file(path);
    const bool isOpen = isStream ? file.open(stdout, QIODevice::WriteOnly) : file.open(QIODevice::WriteOnly);
    if (isOpen && file.write(content) == content.size() && file.flush()
        && file.error() == QFileDevice::NoError)
        return {};
    return failed("write", path, file.errorString());
}

} // namespace kestrum
