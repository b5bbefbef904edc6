#include "Kestrum/KestrumApp.h"
