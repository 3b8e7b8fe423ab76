#include "core/database_codec.h"
