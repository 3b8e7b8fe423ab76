#include "core/array.h"

#include <gtest/gtest.h>
