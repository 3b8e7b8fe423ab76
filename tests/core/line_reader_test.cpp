#include "core/line_reader.h"

#include <gtest/gtest.h>
