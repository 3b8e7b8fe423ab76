#pragma once

/// Exports a class or a function from libtalvek-core. Everything else is hidden.
#define TALVEK_CORE_API __attribute__((visibility("default")))
