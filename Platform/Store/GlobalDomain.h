// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// The language and region of the user's session, read from the environment at each call.
namespace GlobalDomain {

/// The user's languages as BCP 47 codes, most preferred first: those in "LANGUAGE", then the message locale's. Empty if the
/// session names no language (the "C" locale).
QStringList languages();

/// The region (an ISO 3166 code such as "DE") for numbers and for measurements: "LC_ALL", else "LC_NUMERIC" or
/// "LC_MEASUREMENT", else "LANG". Empty if the session names no region.
QString numberRegion();
QString measurementRegion();

} // namespace GlobalDomain
} // namespace kestrum
