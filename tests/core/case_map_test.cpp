#include "core/case_map.h"

#include <gtest/gtest.h>
