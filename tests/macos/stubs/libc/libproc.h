// The functions of Apple's <libproc.h> that are used.
#pragma once

#include <stdint.h>

extern "C" {
int proc_listallpids(void *buffer, int bufferSize);
int proc_pidinfo(int pid, int flavor, uint64_t argument, void *buffer, int bufferSize);
int proc_pidfdinfo(int pid, int descriptor, int flavor, void *buffer, int bufferSize);
int proc_pidpath(int pid, void *buffer, uint32_t bufferSize);
}
