// The C library's own header, and what Darwin has besides.
#pragma once

#include_next <pthread.h>

#include "mach/mach_types.h"

extern "C" mach_port_t pthread_mach_thread_np(pthread_t thread);
