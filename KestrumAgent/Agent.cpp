#include "KestrumAgent/Agent.h"
