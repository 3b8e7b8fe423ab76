#include "core/timestamp.h"
