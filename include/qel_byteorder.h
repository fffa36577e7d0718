/* The one place that knows byte order: loads and stores at any alignment, and swaps. */
#ifndef QEL_BYTEORDER_H
#define QEL_BYTEORDER_H

#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
#include <bit>
static_assert(std::endian::native == std::endian::little, "the records are laid out for little-endian hosts");
#endif

static inline uint16_t QEL_Swap16(uint16_t usValue)
{
    return __builtin_bswap16(usValue);
}

static inline uint32_t QEL_Swap32(uint32_t uiValue)
{
    return __builtin_bswap32(uiValue);
}

/* Words as they lie in memory, in host order, at any alignment. */
static inline uint16_t QEL_Load16(const void *pvFrom)
{
    uint16_t usValue;
    memcpy(&usValue, pvFrom, sizeof(usValue));
    return usValue;
}

static inline uint32_t QEL_Load32(const void *pvFrom)
{
    uint32_t uiValue;
    memcpy(&uiValue, pvFrom, sizeof(uiValue));
    return uiValue;
}

static inline uint64_t QEL_Load64(const void *pvFrom)
{
    uint64_t ullValue;
    memcpy(&ullValue, pvFrom, sizeof(ullValue));
    return ullValue;
}

static inline void QEL_Store16(void *pvTo, uint16_t usValue)
{
    memcpy(pvTo, &usValue, sizeof(usValue));
}

static inline void QEL_Store32(void *pvTo, uint32_t uiValue)
{
    memcpy(pvTo, &uiValue, sizeof(uiValue));
}

/* Words in network order. */
static inline uint16_t QEL_LoadBe16(const void *pvFrom)
{
    return QEL_Swap16(QEL_Load16(pvFrom));
}

static inline uint32_t QEL_LoadBe32(const void *pvFrom)
{
    return QEL_Swap32(QEL_Load32(pvFrom));
}

static inline void QEL_StoreBe16(void *pvTo, uint16_t usValue)
{
    QEL_Store16(pvTo, QEL_Swap16(usValue));
}

static inline void QEL_StoreBe32(void *pvTo, uint32_t uiValue)
{
    QEL_Store32(pvTo, QEL_Swap32(uiValue));
}

/* Swaps in place, at any alignment. */
static inline void QEL_SwapAt16(void *pvWord)
{
    QEL_Store16(pvWord, QEL_Swap16(QEL_Load16(pvWord)));
}

static inline void QEL_SwapAt32(void *pvWord)
{
    QEL_Store32(pvWord, QEL_Swap32(QEL_Load32(pvWord)));
}

#endif
