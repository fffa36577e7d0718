/* Debug output of the router platform. */
#ifndef PLATFORM_KSX_H
#define PLATFORM_KSX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Writes one printf-formatted debug message of a module to a handle that the platform gave out. */
void KSX_Debug(uint32_t uiModule, uint32_t uiHandle, const char *pszName, uint32_t uiCode, const char *pszFormat, ...)
    __attribute__((format(printf, 5, 6)));

#ifdef __cplusplus
}
#endif

#endif
