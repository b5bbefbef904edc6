#include "KestrumShared/Machine/ProcessScan.h"
