#pragma once

#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FileTree.h"

namespace kestrum {

/// Makes the bundle `name`, a path in `tree`, with the information dictionary `info`.
inline Bundle makeBundle(
    const FileTree& tree, const QByteArray& info, const QString& name = QStringLiteral("A.app"))
{
    tree.write(name + QStringLiteral("/Contents/Info.plist"), info);
    return Bundle(tree.path(name));
}

/// A bundle in a temporary folder, which is the main bundle for as long as this object lives.
class TestBundle {
public:
    /// `info` is the information dictionary. Each of the `localizations` gets a folder with a table that translates "Memory"
    /// into the language's code.
    TestBundle(const QByteArray& info, const QList<QByteArray>& localizations)
        : m_before(Bundle::main())
    {
        for (const QByteArray& code : localizations)
            writeTable(code, "Memory = \"" + code + "\";");
        Bundle::setMain(makeBundle(m_tree, info));
    }
    ~TestBundle() { Bundle::setMain(m_before); }
    Q_DISABLE_COPY_MOVE(TestBundle)

    void writeTable(const QByteArray& code, const QByteArray& table) const
    {
        m_tree.write(folder(code) + QStringLiteral("/Localizable.strings"), table);
    }

    void removeFolder(const QByteArray& code) const
    {
        QVERIFY(QDir(m_tree.path(folder(code))).removeRecursively());
    }

private:
    static QString folder(const QByteArray& code)
    {
        return QStringLiteral("A.app/Contents/Resources/%1.lproj").arg(QString::fromUtf8(code));
    }

    Bundle m_before;
    FileTree m_tree;
};

} // namespace kestrum
