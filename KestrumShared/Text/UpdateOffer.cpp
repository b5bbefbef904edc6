#include "KestrumShared/Text/UpdateOffer.h"

namespace kestrum {

QString UpdateOffer::name(const QString& version, const QString& build)
{
    return version == build ? version : QStringLiteral("%1 (%2)").arg(version, build);
}

} // namespace kestrum
