#include "core/file_stream.h"
