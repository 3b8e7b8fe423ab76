#include "core/case_map.h"
