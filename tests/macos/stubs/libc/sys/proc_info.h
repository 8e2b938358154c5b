// The parts of Apple's <sys/proc_info.h> that are used, reduced to the fields that are read.
#pragma once

#include <stdint.h>

#define PROC_PIDLISTFDS 1
#define PROC_PIDTBSDINFO 3
#define PROC_PIDFDVNODEPATHINFO 2
#define PROC_PIDFDSOCKETINFO 3
#define PROC_PIDPATHINFO_MAXSIZE (4 * 1024)
#define PROX_FDTYPE_VNODE 1
#define PROX_FDTYPE_SOCKET 2

struct proc_bsdinfo {
    uint32_t pbi_status;
    uint64_t pbi_start_tvsec;
    uint64_t pbi_start_tvusec;
};

struct proc_fdinfo {
    int32_t proc_fd;
    uint32_t proc_fdtype;
};

struct vnode_info_path {
    char vip_path[1024];
};
struct vnode_fdinfowithpath {
    struct vnode_info_path pvip;
};

enum { SOCKINFO_GENERIC = 0, SOCKINFO_IN = 1, SOCKINFO_TCP = 2 };
struct in_sockinfo {
    int insi_fport;
    int insi_lport;
};
struct socket_info {
    int soi_kind;
    union {
        struct in_sockinfo pri_in;
    } soi_proto;
};
struct socket_fdinfo {
    struct socket_info psi;
};
