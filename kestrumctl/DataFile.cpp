// SPDX-License-Identifier: MIT
#include "kestrumctl/DataFile.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Log/Log.h"

#include <QFile>
#include <cstdio>

namespace kestrum {

namespace {

const QLatin1StringView standardStream("-");

QString reason(const char* what, const QString& path, const QString& why)
{
    return QStringLiteral("cannot %1 \"%2\": %3").arg(QLatin1StringView(what), Log::escaped(path), why);
}

bool writeThrough(QFile& file, const QByteArray& content)
{
    return file.write(content) == content.size() && file.flush() && file.error() == QFileDevice::NoError;
}

} // namespace

std::optional<QByteArray> DataFile::read(const QString& path, qint64 maximumBytes, QString* error)
{
    QFile file(path);
    const bool isOpen
        = path == standardStream ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!isOpen) {
        *error = reason("read", path, file.errorString());
        return std::nullopt;
    }
    QByteArray content;
    // A read from a pipe gives only the bytes that are there: read until it ends.
    while (content.size() <= maximumBytes) {
        const QByteArray piece = file.read(maximumBytes + 1 - content.size());
        if (piece.isEmpty())
            break;
        content += piece;
    }
    if (file.error() != QFileDevice::NoError) {
        *error = reason("read", path, file.errorString());
        return std::nullopt;
    }
    if (content.size() > maximumBytes) {
        *error = QStringLiteral("\"%1\" is larger than %2 bytes").arg(Log::escaped(path)).arg(maximumBytes);
        return std::nullopt;
    }
    return content;
}

bool DataFile::write(const QString& path, const QByteArray& content, QString* error)
{
    const bool isStream = path == standardStream;
    const auto replaced = isStream ? std::nullopt : AtomicFile::replaceFile(QFile::encodeName(path), content);
    if (replaced && *replaced)
        *error = reason("write", path, qt_error_string(replaced->error));
    if (replaced)
        return !*replaced;
    QFile file(path);
    const bool isOpen = isStream ? file.open(stdout, QIODevice::WriteOnly) : file.open(QIODevice::WriteOnly);
    if (isOpen && writeThrough(file, content))
        return true;
    *error = reason("write", path, file.errorString());
    return false;
}

} // namespace kestrum
