#include "core/string_pool.h"

#include <gtest/gtest.h>
