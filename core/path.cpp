#include "core/path.h"
