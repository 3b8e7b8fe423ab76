#include "core/string_pool.h"
