// TAL_API: marks what is shared between libraries. Libraries hide their symbols; types that are thrown, cast at
// run time or implemented on the other side need default visibility, or they stop matching.
#pragma once

#define TAL_API __attribute__((visibility("default")))
