#include "core/map.h"

#include <gtest/gtest.h>
