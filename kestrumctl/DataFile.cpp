#include "kestrumctl/DataFile.h"

#include "Platform/Log.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <cstdio>

namespace kestrum {

namespace {

const QLatin1StringView standardStream("-");

QString reason(const char* what, const QString& path, const QFileDevice& file)
{
    return QStringLiteral("cannot %1 \"%2\": %3")
        .arg(QLatin1StringView(what), Log::escaped(path), file.errorString());
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
        *error = reason("read", path, file);
        return std::nullopt;
    }
    QByteArray content;
    // A pipe gives what is there at the moment: read until it ends.
    while (content.size() <= maximumBytes) {
        const QByteArray piece = file.read(maximumBytes + 1 - content.size());
        if (piece.isEmpty())
            break;
        content += piece;
    }
    if (file.error() != QFileDevice::NoError) {
        *error = reason("read", path, file);
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
    const QFileInfo info(path);
    if (path == standardStream || (info.exists() && !info.isFile())) {
        QFile file(path);
        const bool isOpen = path == standardStream ? file.open(stdout, QIODevice::WriteOnly)
                                                   : file.open(QIODevice::WriteOnly);
        if (isOpen && writeThrough(file, content))
            return true;
        *error = reason("write", path, file);
        return false;
    }
    QSaveFile file(path);
    // A full disk shows in flush(): commit() alone reports success and leaves an empty file.
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush()
        && file.error() == QFileDevice::NoError && file.commit())
        return true;
    *error = reason("write", path, file);
    return false;
}

} // namespace kestrum
