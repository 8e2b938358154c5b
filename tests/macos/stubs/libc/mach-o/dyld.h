// From Apple's <mach-o/dyld.h>.
#pragma once

#include <stdint.h>

extern "C" int _NSGetExecutablePath(char *buffer, uint32_t *bufferSize);
