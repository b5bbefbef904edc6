// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// The language and region of the user's session, read from the environment at each call.
namespace GlobalDomain {

/// The user's languages as BCP 47 codes, most preferred first: the languages in "LANGUAGE", then the language of the locale for
/// messages. Empty if this locale is "C" or not set.
QStringList languages();

/// The regions for numbers and for measurements, as ISO 3166 codes such as "DE". The first variable that is not empty counts:
/// "LC_ALL", then "LC_NUMERIC" or "LC_MEASUREMENT", then "LANG". Empty if this variable names no region.
QString numberRegion();
QString measurementRegion();

} // namespace GlobalDomain
} // namespace kestrum
