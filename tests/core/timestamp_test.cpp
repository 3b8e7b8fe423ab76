#include "core/timestamp.h"

#include <gtest/gtest.h>
