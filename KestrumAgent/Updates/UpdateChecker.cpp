#include "KestrumAgent/Updates/UpdateChecker.h"
