#include "core/process_capture.h"

#include <gtest/gtest.h>
