// The one function of Apple's <pthread.h> that takes other arguments than elsewhere.
#pragma once

#include_next <pthread.h>

int pthread_setname_np(const char *name);
