// What is used of a process's flags.
#pragma once

#define P_TRACED 0x00000800
