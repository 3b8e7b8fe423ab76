#include "core/file_stream.h"

#include <gtest/gtest.h>
