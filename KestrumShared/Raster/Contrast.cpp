// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/Contrast.h"

#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

constexpr float smallStep = 0.99F;

/// Relative luminance of an opaque sRGB colour, 0 to 1.
double luminance(const QColor& colour)
{
    const auto linear
        = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

} // namespace

double Contrast::ratio(const QColor& colour, const QColor& ground)
{
    const double first = luminance(laidOver(colour, ground));
    const double second = luminance(ground);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor Contrast::laidOver(const QColor& colour, const QColor& ground)
{
    const float alpha = colour.alphaF();
    const auto mixed = [alpha](float above, float below) { return above * alpha + below * (1 - alpha); };
    return QColor::fromRgbF(mixed(colour.redF(), ground.redF()), mixed(colour.greenF(), ground.greenF()),
        mixed(colour.blueF(), ground.blueF()));
}

QColor Contrast::darker(const QColor& colour)
{
    return QColor::fromRgbF(
        colour.redF() * smallStep, colour.greenF() * smallStep, colour.blueF() * smallStep, colour.alphaF());
}

QColor Contrast::stepped(const QColor& colour, ColourScheme scheme)
{
    constexpr float light = 1 - smallStep;
    const QColor darker = Contrast::darker(colour);
    return scheme == ColourScheme::light ? darker
                                         : QColor::fromRgbF(darker.redF() + light, darker.greenF() + light,
                                             darker.blueF() + light, darker.alphaF());
}

QColor Contrast::readable(const QColor& colour, const QColor& ground, double least, ColourScheme scheme)
{
    // After so many steps, nothing is left of any colour.
    constexpr int mostSteps = 1000;
    QColor readable = colour;
    for (int step = 0; ratio(readable, ground) < least; ++step) {
        if (step == mostSteps)
            return scheme == ColourScheme::light ? Qt::black : Qt::white;
        readable = stepped(readable, scheme);
    }
    return readable;
}

} // namespace kestrum
