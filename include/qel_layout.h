/* Small macros that let the public records compile alike as C11 and C++20. */
#ifndef QEL_LAYOUT_H
#define QEL_LAYOUT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QEL_EXTERN_C_BEGIN extern "C" {
#define QEL_EXTERN_C_END }
#define QEL_STATIC_ASSERT(cond, text) static_assert(cond, text)
#else
#define QEL_EXTERN_C_BEGIN
#define QEL_EXTERN_C_END
#define QEL_STATIC_ASSERT(cond, text) _Static_assert(cond, text)
#endif

#define QEL_ASSERT_SIZE(type, bytes) QEL_STATIC_ASSERT(sizeof(type) == (bytes), #type " is " #bytes " bytes")
#define QEL_ASSERT_OFFSET(type, field, bytes)                                                                          \
    QEL_STATIC_ASSERT(offsetof(type, field) == (bytes), #type "." #field " stands at " #bytes)

#define QEL_PACKED __attribute__((packed))
/* A record reached through a section pointer may stand at any address: read it through an alias of this alignment. */
#define QEL_ANY_ALIGNMENT __attribute__((aligned(1)))

#endif
