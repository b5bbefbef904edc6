// SPDX-License-Identifier: MIT
#include "Kestrum/Pictures.h"

#include "Kestrum/AccessibilityDump.h"
#include "Kestrum/Window/SettingsView.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QImage>
#include <algorithm>
#include <cstdio>

namespace kestrum {

namespace {

QImage picture(SettingsView& window, int scale)
{
    QImage image(window.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    window.render(&image);
    return image;
}

bool saveTree(SettingsView& window, const QString& path)
{
    QAccessibleInterface* root = QAccessible::queryAccessibleInterface(&window);
    const QByteArray tree = root ? AccessibilityDump::text(*root).toUtf8() : QByteArray();
    QFile file(path);
    return !tree.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(tree) == tree.size()
        && file.flush();
}

/// If `isSaved` is false, writes to standard error that the file was not saved. Returns `isSaved`.
bool report(bool isSaved, const QString& path)
{
    if (!isSaved)
        std::fprintf(stderr, "Kestrum: cannot write %s\n", qPrintable(path));
    return isSaved;
}

} // namespace

bool Pictures::save(SettingsView& window, const QString& directory)
{
    const QDir folder(directory);
    folder.mkpath(QStringLiteral("."));
    const SettingsPage shown = window.page();
    const QSize size = window.size();
    // Makes the window look active even if no window manager gives it the focus.
    QApplication::setActiveWindow(&window);
    bool isSaved = true;
    for (const auto& page : allCases<SettingsPage>()) {
        window.showPage(page.value);
        // Shows the whole page without scrolling.
        window.resize(size.width(), std::max(size.height(), window.pageHeight()));
        const QString tree = folder.filePath(QLatin1StringView(page.rawValue) + QStringLiteral(".tree.txt"));
        isSaved &= report(saveTree(window, tree), tree);
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            for (const int scale : { 1, 2 }) {
                const QString path = folder.filePath(
                    QStringLiteral("%1-%2%3.png")
                        .arg(rawValue(page.value),
                            scheme == ColourScheme::dark ? QStringLiteral("dark") : QStringLiteral("light"),
                            scale == 1 ? QString() : QStringLiteral("@2x")));
                isSaved &= report(picture(window, scale).save(path), path);
            }
        }
    }
    window.showPage(shown);
    window.resize(size);
    return isSaved;
}

} // namespace kestrum
