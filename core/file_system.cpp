#include "core/file_system.h"
