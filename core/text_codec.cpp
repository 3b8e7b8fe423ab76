#include "core/text_codec.h"
