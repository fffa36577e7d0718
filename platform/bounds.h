/* Bounds-checked memory and string calls of the router platform. 0 is success; a null pointer, a size of 0 or a count
 * above the size fails and writes nothing. */
#ifndef PLATFORM_BOUNDS_H
#define PLATFORM_BOUNDS_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount);
int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount);
int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount);
int32_t strcat_s(char *pcDst, size_t ulDstMax, const char *pszSrc);

/* Formats at most ulDstMax - 1 characters and the terminator. Returns the characters in the buffer; -1: failure. */
int32_t snprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, ...)
    __attribute__((format(printf, 3, 4)));
int32_t vsnprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, va_list stArgs)
    __attribute__((format(printf, 3, 0)));

#ifdef __cplusplus
}
#endif

#endif
