// SPDX-License-Identifier: MIT
// What tools/hosts hears: looks at the session's programs as a screen reader does.
//
//   NAME...   whether each of the names is the beginning of a shown element's
//
// The exit code is 0 if all were found, 1 if not, 2 if there is no accessibility bus.
#include "tests/Support/AccessTree.h"

#include <QCoreApplication>

using namespace kestrum;

namespace {

/// Shells have some thousands of elements.
constexpr qsizetype mostElements = 5000;

} // namespace

int main(int count, char** words)
{
    const QCoreApplication application(count, words);
    QStringList wanted = QCoreApplication::arguments().mid(1);
    const std::optional<Accessible> desktop = AccessTree::ofTheSession();
    if (!desktop)
        return 2;
    QList<Accessible> elements { *desktop };
    for (qsizetype next = 0; !wanted.isEmpty() && next < std::min(elements.size(), mostElements); ++next) {
        const Accessible element = elements[next];
        const QString name = element.name();
        wanted.removeIf([&](const QString& beginning) {
            return name.startsWith(beginning) && element.has(Accessible::State::showing);
        });
        elements += element.children();
    }
    return wanted.isEmpty() ? 0 : 1;
}
