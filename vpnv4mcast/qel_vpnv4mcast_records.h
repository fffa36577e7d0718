/* Records of the VPNv4 multicast family that cross to the host, and the family's own section view. */
#ifndef QEL_VPNV4MCAST_RECORDS_H
#define QEL_VPNV4MCAST_RECORDS_H

#include "qel_route.h"

QEL_EXTERN_C_BEGIN

/* The key section, host order; the bits of uiPrefix behind the mask length are clear. */
typedef struct {
    uint32_t uiPrefix;
    uint32_t uiMaskLen; /* 0 to 32; 0xFFFFFFFF: any length */
} QEL_VPNV4MCAST_KEY_S;
QEL_ASSERT_SIZE(QEL_VPNV4MCAST_KEY_S, 8);
QEL_ASSERT_OFFSET(QEL_VPNV4MCAST_KEY_S, uiMaskLen, 4);
/* The same where it lies in a section. */
QEL_AT_ANY_ADDRESS(QEL_VPNV4MCAST_KEY_S, QEL_VPNV4MCAST_KEY_AT_S);

/* uiMaskLen of a key that compares equal to its prefix with any length. */
#define QEL_VPNV4MCAST_ANY_LENGTH UINT32_C(0xFFFFFFFF)
/* The label section of a route whose wire label has all its twenty bits set. */
#define QEL_VPNV4MCAST_NO_LABEL UINT32_C(0xFFFFFFFF)

/* A caller's list of a route's sections. This family has a label section where the others have the non-key. */
typedef struct {
    uint32_t uiRdLen;
    const uint8_t *pucRd;
    uint32_t uiKeyLen;
    const uint8_t *pucKey;
    uint32_t uiSpare0;
    uint32_t uiSpare1;
    uint32_t uiLabelLen;
    const uint8_t *pucLabel;
    uint8_t ucAttrFlag;
    uint8_t ucAttrType;
    uint16_t usAttrLen;
    const uint8_t *pucAttr;
    uint32_t uiCrossLen;
    const uint8_t *pucCross;
} QEL_VPNV4MCAST_VIEW_S;

QEL_EXTERN_C_END

#endif
