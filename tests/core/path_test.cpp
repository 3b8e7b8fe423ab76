#include "core/path.h"

#include <gtest/gtest.h>
