/* The platform services as this host supplies them, and what it keeps of their use. */
#ifndef SERVICES_H
#define SERVICES_H

#include <stdint.h>

#define MEM_HANDLE UINT32_C(11)

typedef struct {
    uint32_t uiLive;        /* blocks that are allocated now, all of them on MEM_HANDLE */
    uint32_t uiAllocations; /* ever */
    uint32_t uiMisuse;      /* a foreign handle, a block freed twice, octets behind a block overwritten */
    uint32_t uiAsserts;
    uint32_t uiDebugs;
    uint32_t uiDebugModule; /* of the last debug message */
    uint32_t uiDebugHandle;
    char acDebug[800];
} SERVICES_S;

extern SERVICES_S g_stServices;

#endif
