/* The library's own checks: one check, one line, reported with the caller's file and line. Internal; C hosts see an
 * empty header. */
#ifndef QEL_CHECK_H
#define QEL_CHECK_H

#include "platform/bounds.h"
#include "platform/zvk.h"
#include "qel_family.h"

#ifdef __cplusplus

#include <cstddef>
#include <cstdint>

/* Reports a value that stands for a failed check. */
static inline void QEL_Report(uint64_t ullValue, const char *pszFile = __builtin_FILE(),
                              uint32_t uiLine = static_cast<uint32_t>(__builtin_LINE()))
{
    ZVK_Assert(pszFile, uiLine, ullValue);
}

/* True, after a report, if the pointer is null. Chain with || in the order in which the arguments are checked. */
[[nodiscard]] static inline bool QEL_Missing(const void *pv, const char *pszFile = __builtin_FILE(),
                                             uint32_t uiLine = static_cast<uint32_t>(__builtin_LINE()))
{
    if (pv != nullptr) [[likely]] {
        return false;
    }
    ZVK_Assert(pszFile, uiLine, 0);
    return true;
}

/* True, after a report, if a number that must not be 0 is 0. */
[[nodiscard]] static inline bool QEL_Zero(uint32_t uiValue, const char *pszFile = __builtin_FILE(),
                                          uint32_t uiLine = static_cast<uint32_t>(__builtin_LINE()))
{
    if (uiValue != 0) [[likely]] {
        return false;
    }
    ZVK_Assert(pszFile, uiLine, 0);
    return true;
}

/* Bounds-checked copy and clear that report a failure and carry on. */
static inline void QEL_Copy(void *pvDst, size_t ulRoom, const void *pvSrc, size_t ulLen,
                            const char *pszFile = __builtin_FILE(),
                            uint32_t uiLine = static_cast<uint32_t>(__builtin_LINE()))
{
    const int32_t iResult = memcpy_s(pvDst, ulRoom, pvSrc, ulLen);
    if (iResult != 0) [[unlikely]] {
        ZVK_Assert(pszFile, uiLine, static_cast<uint64_t>(iResult));
    }
}

static inline void QEL_Clear(void *pvDst, size_t ulRoom, size_t ulLen, const char *pszFile = __builtin_FILE(),
                             uint32_t uiLine = static_cast<uint32_t>(__builtin_LINE()))
{
    const int32_t iResult = memset_s(pvDst, ulRoom, 0, ulLen);
    if (iResult != 0) [[unlikely]] {
        ZVK_Assert(pszFile, uiLine, static_cast<uint64_t>(iResult));
    }
}

/* A function on the road of every route: what it calls in its own file is built into it, exported steps too. */
#define QEL_HOT_PATH [[gnu::flatten]]

/* A record as the bytes of a section. */
static inline const uint8_t *QEL_Bytes(const void *pv)
{
    return static_cast<const uint8_t *>(pv);
}

/* The first row of a dispatch table whose type matches, or null. */
template <uint32_t uiRows>
[[nodiscard]] static inline const QEL_DISPATCH_ENTRY_S *QEL_FindEntry(const QEL_DISPATCH_ENTRY_S (&astTable)[uiRows],
                                                                      uint32_t uiType)
{
    for (const QEL_DISPATCH_ENTRY_S &stEntry : astTable) {
        if (stEntry.uiType == uiType) {
            return &stEntry;
        }
    }
    return nullptr;
}

#endif

#endif
