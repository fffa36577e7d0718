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
/* Declares such an alias. g++ widens a record's aliases to the record's own alignment when it declares the record's
 * implicit constructors and assignment, at their first use; the assertion makes it do so before the alias exists. */
#ifdef __cplusplus
#define QEL_AT_ANY_ADDRESS(type, alias)                                                                                \
    static_assert(__is_constructible(type) && __is_constructible(type, const type &) &&                                \
                      __is_assignable(type &, const type &),                                                           \
                  #type " is plain");                                                                                  \
    typedef type alias QEL_ANY_ALIGNMENT
#else
#define QEL_AT_ANY_ADDRESS(type, alias) typedef type alias QEL_ANY_ALIGNMENT
#endif

/* Bytes of a length told elsewhere, at the end of a record; no part of its size. */
#if defined(__cplusplus) && defined(__clang__)
#define QEL_BYTES_BEHIND(name)                                                                                         \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wc99-extensions\"") uint8_t name[];          \
    _Pragma("clang diagnostic pop")
#else
#define QEL_BYTES_BEHIND(name) __extension__ uint8_t name[];
#endif

#endif
