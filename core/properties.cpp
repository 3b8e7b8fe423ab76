#include "core/properties.h"
