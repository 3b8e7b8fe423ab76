#include "core/string.h"

#include <gtest/gtest.h>
