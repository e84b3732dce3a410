// What is used of the kernel's process table.
#pragma once

#include <sys/types.h>

extern "C" {

#define CTL_KERN 1
#define KERN_PROC 14
#define KERN_PROC_ALL 0
#define KERN_PROC_PID 1

struct extern_proc {
    int p_flag;
    char p_stat;
    pid_t p_pid;
};

struct _ucred {
    uid_t cr_uid;
};

struct kinfo_proc {
    struct extern_proc kp_proc;
    struct eproc {
        struct _ucred e_ucred;
        pid_t e_ppid;
    } kp_eproc;
};

int sysctl(int* name, u_int namelen, void* oldp, size_t* oldlenp, void* newp, size_t newlen);

}  // extern "C"
