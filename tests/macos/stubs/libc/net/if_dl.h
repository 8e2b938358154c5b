// The link-layer address of Apple's <net/if_dl.h>.
#pragma once

#define AF_LINK 18

struct sockaddr_dl {
    unsigned char sdl_len;
    unsigned char sdl_family;
    unsigned short sdl_index;
    unsigned char sdl_type;
    unsigned char sdl_nlen;
    unsigned char sdl_alen;
    unsigned char sdl_slen;
    char sdl_data[12];
};
#define LLADDR(s) ((char *)((s)->sdl_data + (s)->sdl_nlen))
