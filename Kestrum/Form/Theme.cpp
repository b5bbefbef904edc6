#include "Kestrum/Form/Theme.h"
