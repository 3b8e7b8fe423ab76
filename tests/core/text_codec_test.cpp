#include "core/text_codec.h"

#include <gtest/gtest.h>
