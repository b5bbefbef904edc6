// SPDX-License-Identifier: MIT
#include "KestrumShared/Vocabulary/MeterAccent.h"

#include "fuzz/FuzzTarget.h"

#include <cmath>

namespace kestrum {

namespace {

void runMeterAccent(std::string_view input)
{
    const auto accent = MeterAccent::fromRawValue(QString::fromUtf8(bytes(input)));
    if (!accent)
        return;
    const auto again = MeterAccent::fromRawValue(accent->rawValue());
    expect(again == accent, "an accent reads back");
    expect(again->color().isValid() && again->color().alpha() == 255, "an accent has an opaque colour");
    expect(std::abs(again->color().redF() - accent->color().redF()) < 0.0002F, "storing a colour keeps it");
    expect(accent->titleKey() != nullptr, "an accent has a title");
    if (accent->isCustom())
        expect(MeterAccent::custom(again->color()) == *again, "a stored colour does not change");
}

const FuzzTarget meterAccentTarget("MeterAccent", runMeterAccent);

} // namespace
} // namespace kestrum
