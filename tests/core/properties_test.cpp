#include "core/properties.h"

#include <gtest/gtest.h>
