#include "core/database.h"
