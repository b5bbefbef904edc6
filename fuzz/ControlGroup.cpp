// SPDX-License-Identifier: MIT
#include "Platform/Machine/ControlGroup.h"

#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

void runControlGroup(std::string_view input)
{
    const QByteArrayView content(input.data(), qsizetype(input.size()));
    const QByteArrayView path = ControlGroup::pathIn(content);
    expect(!path.contains('\n'), "a path is in one line");
    expect(path.isEmpty() || (path.begin() >= content.begin() && path.end() <= content.end()),
        "a path is a part of the content");
    for (const QByteArrayView text : { path, content }) {
        const ControlGroup group = ControlGroup::parsed(text);
        expect((group.kind == ControlGroup::Kind::unnamed) == group.name.isEmpty(),
            "a group of a kind has a name, and no other has");
    }
}

const FuzzTarget controlGroupTarget("ControlGroup", runControlGroup);

} // namespace
} // namespace kestrum
