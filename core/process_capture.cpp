#include "core/process_capture.h"
