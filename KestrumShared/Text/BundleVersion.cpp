#include "KestrumShared/Text/BundleVersion.h"

namespace kestrum {

} // namespace kestrum
