#include "core/line_reader.h"
