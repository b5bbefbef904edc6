#include "KestrumShared/Text/TextLocale.h"

namespace kestrum {

} // namespace kestrum
