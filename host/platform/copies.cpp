// Bounds-checked memory calls. In an object of their own, so that a program that brings others links without these.
#include "host/platform/bounded.h"
#include "platform/bounds.h"

int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    return qel::platform::bounded_copy(pvDst, ulDstMax, pvSrc, ulCount);
}

int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount)
{
    return qel::platform::bounded_fill(pvDst, ulDstMax, iValue, ulCount);
}

int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    return qel::platform::bounded_move(pvDst, ulDstMax, pvSrc, ulCount);
}
