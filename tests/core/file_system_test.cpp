#include "core/file_system.h"

#include <gtest/gtest.h>
