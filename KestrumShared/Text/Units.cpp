#include "KestrumShared/Text/Units.h"

namespace kestrum {

} // namespace kestrum
