#include "KestrumShared/Drawing/Canvas.h"

namespace kestrum {

} // namespace kestrum
