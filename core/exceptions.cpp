#include "core/exceptions.h"
