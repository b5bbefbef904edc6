// SPDX-License-Identifier: MIT
#include "Platform/Machine/MountTable.h"

#include "fuzz/FuzzTarget.h"

#include <QSet>
#include <algorithm>

namespace kestrum {

namespace {

bool breaksLine(QChar character)
{
    const auto category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line
        || category == QChar::Separator_Paragraph;
}

void runMountTable(std::string_view input)
{
    const QList<MountTable::Volume> volumes = MountTable::volumes(input);
    expect(
        volumes.size() <= std::count(input.begin(), input.end(), '\n') + 1, "a line is one volume at most");
    QSet<QByteArray> devices;
    bool wasRoot = true;
    for (const MountTable::Volume& volume : volumes) {
        expect(volume.path.startsWith('/'), "a volume has a whole path");
        expect(!volume.name.isEmpty(), "a volume has a name");
        expect(std::none_of(volume.name.begin(), volume.name.end(), breaksLine), "a name is in one line");
        expect(!devices.contains(volume.device), "a volume is listed once");
        devices.insert(volume.device);
        // A damaged table may have more than one.
        expect(wasRoot || volume.path != "/", "the root is the first");
        wasRoot = volume.path == "/";
    }
}

const FuzzTarget mountTableTarget("MountTable", runMountTable);

} // namespace
} // namespace kestrum
