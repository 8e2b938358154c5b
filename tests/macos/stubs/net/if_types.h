// From Apple's <net/if_types.h>.
#pragma once

#define IFT_ETHER 0x6
