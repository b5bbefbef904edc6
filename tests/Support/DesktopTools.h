#pragma once

#include "tests/Support/FileTree.h"

#include <QDir>

namespace kestrum {

/// Stand-ins for the programs by which desktops' settings are read and written: while this object exists, they are the first
/// "gsettings" and "xfconf-query" in PATH. They keep the settings in files. Each value has one: SCHEMA/KEY for gsettings, and
/// the property's path below "xfconf" for xfconf-query.
class DesktopTools {
public:
    DesktopTools()
        : m_path(qgetenv("PATH"))
    {
        writeProgram(m_tree.path(QStringLiteral("gsettings")), R"sh(#!/bin/sh
cd "${0%/*}" || exit 9
[ -d "$2" ] || { echo "No such schema \"$2\"" >&2; exit 1; }
case $1 in
list-recursively)
    for file in "$2"/*; do printf '%s %s %s\n' "$2" "${file##*/}" "$(cat "$file")"; done
    echo "$2.keybindings enabled-applets ['of another schema']" ;;
set)
    [ -f "$2/$3" ] || { echo "No such key \"$3\"" >&2; exit 1; }
    printf '%s' "$4" >"$2/$3"
    echo "$3" >>written ;;
*) exit 1 ;;
esac
)sh");
        writeProgram(m_tree.path(QStringLiteral("xfconf-query")), R"sh(#!/bin/sh
cd "${0%/*}/xfconf" || { echo "the channel is not there" >&2; exit 1; }
list= reset= value= path=
while [ $# -gt 0 ]; do
    case $1 in
    -c) [ "$2" = xfce4-panel ] || exit 1; shift ;;
    -p) path=$2; shift ;;
    -l) list=1 ;;
    -r) reset=1 ;;
    -s) value=$2; shift ;;
    -t) shift ;;
    esac
    shift
done
if [ "$list" ]; then
    find ".$path" -name value | sort | while read -r file; do
        property=${file%/value}
        printf '%-60s%s\n' "${property#.}" "$(cat "$file")"
    done
elif [ "$reset" ]; then
    rm ".$path/value"
else
    mkdir -p ".$path" && printf '%s' "$value" >".$path/value"
fi
)sh");
        qputenv("PATH", m_tree.root().toUtf8() + ':' + m_path);
    }
    ~DesktopTools() { qputenv("PATH", m_path); }
    Q_DISABLE_COPY_MOVE(DesktopTools)

    /// A value of gsettings, in GLib's text form.
    void set(const char* schema, const char* key, const QByteArray& value) const
    {
        m_tree.write(QStringLiteral("%1/%2").arg(QLatin1StringView(schema), QLatin1StringView(key)), value);
    }
    QByteArray value(const char* schema, const char* key) const
    {
        return m_tree.read(QStringLiteral("%1/%2").arg(QLatin1StringView(schema), QLatin1StringView(key)));
    }
    /// The keys that have been written, in order.
    QByteArrayList written() const
    {
        const QString path = m_tree.path(QStringLiteral("written"));
        return QFile::exists(path) ? contentOf(path).trimmed().split('\n') : QByteArrayList();
    }

    /// A property of Xfce's panel.
    void setProperty(const char* path, const QByteArray& value) const
    {
        m_tree.write(propertyFile(path), value);
    }
    /// "absent" if there is no such property.
    QByteArray property(const char* path) const
    {
        return QFile::exists(m_tree.path(propertyFile(path))) ? m_tree.read(propertyFile(path)) : "absent";
    }

    /// Makes a program fail, or behave in another way.
    void replace(const char* program, const QByteArray& script) const
    {
        writeProgram(m_tree.path(QString::fromLatin1(program)), "#!/bin/sh\n" + script);
    }
    void remove(const char* program) const { QFile::remove(m_tree.path(QString::fromLatin1(program))); }

    /// Installs an empty file in this test's data directory.
    static void install(const char* file)
    {
        const QString path = QString::fromUtf8(qgetenv("XDG_DATA_HOME")) + u'/' + QLatin1StringView(file);
        QDir().mkpath(QFileInfo(path).path());
        write(path, "{}");
    }
    /// Removes all that `install` has installed.
    static void clear() { QDir(QString::fromUtf8(qgetenv("XDG_DATA_HOME"))).removeRecursively(); }

private:
    static QString propertyFile(const char* path)
    {
        return QStringLiteral("xfconf%1/value").arg(QLatin1StringView(path));
    }

    QByteArray m_path;
    FileTree m_tree;
};

} // namespace kestrum
