#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// What the user's session says about language and region, read from the environment at each call.
namespace GlobalDomain {

/// The user's languages as BCP 47 codes, most preferred first: "LANGUAGE", then the message locale. Empty when the
/// session names none (the "C" locale).
QStringList languages();

/// The region, an ISO 3166 code such as "DE", of numbers / of measurements: "LC_ALL", else "LC_NUMERIC" /
/// "LC_MEASUREMENT", else "LANG". Empty when the session names none.
QString numberRegion();
QString measurementRegion();

} // namespace GlobalDomain
} // namespace kestrum
