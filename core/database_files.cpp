#include "core/database_files.h"
