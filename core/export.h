#pragma once

/// Marks what libtalvek-core shows to the programs and plug-ins that link it; all else stays hidden.
#define TALVEK_CORE_API __attribute__((visibility("default")))
