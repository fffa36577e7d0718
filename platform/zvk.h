/* Memory and assertion services of the router platform. The library imports them; the host defines them. */
#ifndef PLATFORM_ZVK_H
#define PLATFORM_ZVK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reports a failed check with its source file, line and the value that was tested, and returns. */
void ZVK_Assert(const char *pszFile, uint32_t uiLine, uint64_t ullValue);

/* Allocates uiSize bytes on a memory handle, not cleared, aligned for any record. NULL: no memory. */
void *ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *pszFile, uint32_t uiLine);

/* Gives back what ZVK_SimpleAlloc_F returned. */
void ZVK_Free_F(void *pvMem, const char *pszFile, uint32_t uiLine);

#ifdef __cplusplus
}
#endif

#endif
