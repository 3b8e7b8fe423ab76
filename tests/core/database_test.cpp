#include "core/database.h"

#include <gtest/gtest.h>
