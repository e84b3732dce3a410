// What is used of Mach.
#pragma once

typedef unsigned int mach_port_t;
