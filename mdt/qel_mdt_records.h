/* Records of the MDT family that cross to the host. */
#ifndef QEL_MDT_RECORDS_H
#define QEL_MDT_RECORDS_H

#include "qel_route.h"

QEL_EXTERN_C_BEGIN

/* The key section, host order. */
typedef struct {
    uint32_t uiSource;
    uint32_t uiGroup;
} QEL_MDT_KEY_S;
QEL_ASSERT_SIZE(QEL_MDT_KEY_S, 8);
QEL_ASSERT_OFFSET(QEL_MDT_KEY_S, uiGroup, 4);

/* The non-key section, host order. usFlags bit 0x1: uiShareGroup is valid. */
typedef struct {
    uint16_t usFlags;
    uint16_t usReserved2;
    uint32_t uiShareGroup;
} QEL_MDT_NONKEY_S;
QEL_ASSERT_SIZE(QEL_MDT_NONKEY_S, 8);
QEL_ASSERT_OFFSET(QEL_MDT_NONKEY_S, uiShareGroup, 4);

/* Bit of usFlags. */
#define QEL_MDT_NONKEY_SHARE_GROUP UINT16_C(0x1)

/* The same where they lie in a section. */
QEL_AT_ANY_ADDRESS(QEL_MDT_KEY_S, QEL_MDT_KEY_AT_S);
QEL_AT_ANY_ADDRESS(QEL_MDT_NONKEY_S, QEL_MDT_NONKEY_AT_S);

QEL_EXTERN_C_END

#endif
