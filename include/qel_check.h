/* The library's own checks: one check, one line, reported with the caller's file and line. Internal; C hosts see an
 * empty header. */
#ifndef QEL_CHECK_H
#define QEL_CHECK_H

#include "platform/bounds.h"
#include "platform/zvk.h"
#include "qel_byteorder.h"
#include "qel_family.h"

#ifdef __cplusplus

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/* Clears a record of the stack, padding too, by stores alone where the length is constant: one clear of it all would be
 * made a loop or a call. */
static inline void QEL_ClearLocal(void *pvDst, size_t ulLen)
{
    constexpr size_t ulStep = 64;
    auto *pucDst = static_cast<uint8_t *>(pvDst);
    for (; ulLen >= ulStep; ulLen -= ulStep, pucDst += ulStep) {
        memset(pucDst, 0, ulStep);
    }
    memset(pucDst, 0, ulLen);
}

/* A function on the road of every route: what it calls in its own file is built into it, exported steps too. */
#define QEL_HOT_PATH [[gnu::flatten]]

/* A record as the bytes of a section. */
static inline const uint8_t *QEL_Bytes(const void *pv)
{
    return static_cast<const uint8_t *>(pv);
}

/* Whether two areas of 8 or of 16 bytes are the same. Keys that meet in a table mostly share all but their last field,
 * and a call of KVO_MemCmp, which is bound to say 0 then, costs more than the loads. */
[[nodiscard]] static inline bool QEL_Same8(const void *pvA, const void *pvB)
{
    return QEL_Load64(pvA) == QEL_Load64(pvB);
}

[[nodiscard]] static inline bool QEL_Same16(const void *pvA, const void *pvB)
{
    return QEL_Same8(pvA, pvB) && QEL_Same8(QEL_Bytes(pvA) + sizeof(uint64_t), QEL_Bytes(pvB) + sizeof(uint64_t));
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
