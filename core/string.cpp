#include "core/string.h"
