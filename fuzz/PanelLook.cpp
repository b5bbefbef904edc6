// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelLook.h"

#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

void runPanelLook(std::string_view text)
{
    static const QStringList keys { QStringLiteral("scale"), QStringLiteral("room"),
        QStringLiteral("foreground") };
    static const QStringList known { {}, QStringLiteral("#123456"), QStringLiteral("#zzzzzz"),
        QStringLiteral("1.5"), QStringLiteral("red"), QString(2000, u'x') };
    FuzzInput input(text);
    PanelLook look;
    while (!input.isAtEnd()) {
        const QVariantMap told = input.map(keys, known);
        look.adopt(told);
        expect(look.scale >= 0.5 && look.scale <= 4, "a scale is in its range");
        expect(look.room >= 100 && look.room <= 4000, "a room is in its range");
        expect(!look.foreground || (look.foreground->isValid() && look.foreground->alpha() == 255),
            "a foreground is an opaque colour");
        PanelLook again = look;
        again.adopt(told);
        expect(again == look, "the same told twice changes nothing");
    }
}

const FuzzTarget panelLookTarget("PanelLook", runPanelLook);

} // namespace
} // namespace kestrum
