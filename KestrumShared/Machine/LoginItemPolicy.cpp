#include "KestrumShared/Machine/LoginItemPolicy.h"
