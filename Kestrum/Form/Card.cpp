#include "Kestrum/Form/Card.h"
