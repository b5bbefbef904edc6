#include "KestrumShared/Text/ByteText.h"

namespace kestrum {

} // namespace kestrum
