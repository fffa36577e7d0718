/* Route records that host and library share: the values, the parser's view, the result block, the expanded route. */
#ifndef QEL_ROUTE_H
#define QEL_ROUTE_H

#include "qel_layout.h"

QEL_EXTERN_C_BEGIN

/* Section bits of uiValidMask. */
#define QEL_SECTION_RD UINT32_C(0x1)
#define QEL_SECTION_KEY UINT32_C(0x2)
#define QEL_SECTION_NONKEY UINT32_C(0x4)
#define QEL_SECTION_ATTR UINT32_C(0x8)
#define QEL_SECTION_CROSS UINT32_C(0x10)
#define QEL_SECTION_LABEL UINT32_C(0x20) /* VPNv4 multicast only */

/* Bit of usNeedProc: the multicast component has to be asked for the replaced attributes. */
#define QEL_NEED_PROC UINT16_C(0x1)

/* Labels of an attribute section: ucAttrFlag and ucAttrType. */
#define QEL_ATTR_FLAG_EXTCOMM UINT8_C(0)
#define QEL_ATTR_FLAG_PMSI UINT8_C(1)
#define QEL_ATTR_FLAG_IMPORT UINT8_C(2)
#define QEL_ATTR_FLAG_IPV6_EXTCOMM UINT8_C(3)
#define QEL_ATTR_FLAG_PFXSID UINT8_C(4)
#define QEL_ATTR_FLAG_MSID UINT8_C(5)
#define QEL_ATTR_TYPE_EXTCOMM UINT8_C(16)      /* RFC 4360 */
#define QEL_ATTR_TYPE_PMSI UINT8_C(22)         /* RFC 6514 */
#define QEL_ATTR_TYPE_IPV6_EXTCOMM UINT8_C(25) /* RFC 5701 */
#define QEL_ATTR_TYPE_PFXSID UINT8_C(40)       /* RFC 8669 */
#define QEL_ATTR_TYPE_MSID UINT8_C(66)
#define QEL_ATTR_TYPE_IMPORT UINT8_C(243) /* private: the import attribute record */

/* Route distinguisher (RFC 4364), host order once parsed. usAsn and uiAssigned for type 0, uiAdmin and usAssigned for
 * types 1 and 2. */
typedef struct QEL_PACKED {
    uint16_t usRdType;
    __extension__ union {
        __extension__ struct QEL_PACKED {
            uint16_t usAsn;
            uint32_t uiAssigned;
        };
        __extension__ struct QEL_PACKED {
            uint32_t uiAdmin;
            uint16_t usAssigned;
        };
        uint8_t aucValue[6];
    };
} QEL_RD_VALUE_S;
QEL_ASSERT_SIZE(QEL_RD_VALUE_S, 8);
QEL_ASSERT_OFFSET(QEL_RD_VALUE_S, usAsn, 2);
QEL_ASSERT_OFFSET(QEL_RD_VALUE_S, uiAssigned, 4);
QEL_ASSERT_OFFSET(QEL_RD_VALUE_S, uiAdmin, 2);
QEL_ASSERT_OFFSET(QEL_RD_VALUE_S, usAssigned, 6);

/* Extended community (RFC 4360), host order. usType has the wire's Type octet as its high byte and the Sub-type octet
 * as its low byte; the value is AS2 (16 then 32 bits) or IP4 (32 then 16 bits). */
typedef struct QEL_PACKED {
    uint16_t usType;
    __extension__ union {
        __extension__ struct QEL_PACKED {
            uint16_t usGlobalAdmin;
            uint32_t uiLocalAdmin;
        };
        __extension__ struct QEL_PACKED {
            uint32_t uiGlobalAdmin;
            uint16_t usLocalAdmin;
        };
        uint8_t aucValue[6];
    };
} QEL_EXTCOMM_S;
QEL_ASSERT_SIZE(QEL_EXTCOMM_S, 8);
QEL_ASSERT_OFFSET(QEL_EXTCOMM_S, usGlobalAdmin, 2);
QEL_ASSERT_OFFSET(QEL_EXTCOMM_S, uiLocalAdmin, 4);
QEL_ASSERT_OFFSET(QEL_EXTCOMM_S, uiGlobalAdmin, 2);
QEL_ASSERT_OFFSET(QEL_EXTCOMM_S, usLocalAdmin, 6);

/* IPv6 address specific extended community (RFC 5701); each word of auiAddr in host order. */
typedef struct QEL_PACKED {
    uint16_t usType;
    uint32_t auiAddr[4];
    uint16_t usLocalAdmin;
} QEL_IPV6_EXTCOMM_S;
QEL_ASSERT_SIZE(QEL_IPV6_EXTCOMM_S, 20);
QEL_ASSERT_OFFSET(QEL_IPV6_EXTCOMM_S, auiAddr, 2);
QEL_ASSERT_OFFSET(QEL_IPV6_EXTCOMM_S, usLocalAdmin, 18);

/* A 16-byte address field: one host-order word in its first four bytes for IPv4, or the 16 wire bytes of an IPv6
 * address. The length byte beside it (0, 32 or 128) tells which. */
typedef union {
    uint8_t aucIpv6[16]; /* first, so that an empty initialiser clears the field */
    uint32_t uiIpv4;
} QEL_ADDR_S;
QEL_ASSERT_SIZE(QEL_ADDR_S, 16);

/* A caller's list of a route's sections. It lives for one call; a section counts only through its pointer. */
typedef struct {
    uint32_t uiRdLen;
    const uint8_t *pucRd;
    uint32_t uiKeyLen;
    const uint8_t *pucKey;
    uint32_t uiNonKeyLen;
    const uint8_t *pucNonKey;
    uint8_t ucAttrFlag;
    uint8_t ucAttrType;
    uint16_t usAttrLen;
    const uint8_t *pucAttr;
    uint32_t uiCrossLen;
    const uint8_t *pucCross;
} QEL_ROUTE_VIEW_S;

/* The contiguous result block: this header, then the present sections without gaps in the order RD, key, non-key,
 * attribute, cross (VPNv4 multicast: RD, key, label, attribute, cross). Offsets count from the start of the block, all
 * fields are in host order, an absent section has offset 0. The host owns a block from the moment that it receives it
 * and frees it through its own memory service. */
typedef struct {
    uint32_t uiValidMask;
    uint8_t ucAttrFlag;
    uint8_t ucAttrType;
    uint16_t usNeedProc;
    uint16_t usRdOffset;
    uint16_t usRdLen;
    uint16_t usKeyOffset;
    uint16_t usKeyLen;
    uint16_t usNonKeyOffset;
    uint16_t usNonKeyLen;
    uint16_t usLabelOffset;
    uint16_t usLabelLen;
    uint16_t usAttrOffset;
    uint16_t usAttrLen;
    uint16_t usCrossOffset;
    uint16_t usCrossLen;
} QEL_ROUTE_BLOCK_S;
QEL_ASSERT_SIZE(QEL_ROUTE_BLOCK_S, 32);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, ucAttrFlag, 4);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, ucAttrType, 5);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usNeedProc, 6);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usRdOffset, 8);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usRdLen, 10);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usKeyOffset, 12);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usKeyLen, 14);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usNonKeyOffset, 16);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usNonKeyLen, 18);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usLabelOffset, 20);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usLabelLen, 22);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usAttrOffset, 24);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usAttrLen, 26);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usCrossOffset, 28);
QEL_ASSERT_OFFSET(QEL_ROUTE_BLOCK_S, usCrossLen, 30);

/* The import attribute record of a segmentation point, declared by the NG-MVPN family. */
typedef struct QEL_NGMVPN_IMPORT_ATTR QEL_NGMVPN_IMPORT_ATTR_S;

/* The host's expanded form of a route. The host builds and owns it and everything that it points at; the library reads
 * it during a call and keeps nothing. Lengths are in bytes; a null pointer means that the section is absent. */
typedef struct {
    uint32_t uiValidMask;
    uint32_t uiRdLen;
    const uint8_t *pucRd;
    uint32_t uiKeyLen;
    const uint8_t *pucKey;
    uint32_t uiNonKeyLen;
    const uint8_t *pucNonKey;
    uint32_t uiLabelLen;  /* VPNv4 multicast only */
    uint32_t uiMplsLabel; /* the label's value itself; the one field that the library writes */
    uint32_t uiExtCommLen;
    uint32_t uiPmsiLen;
    uint32_t uiImportAttrLen;
    uint32_t uiIpv6ExtCommLen;
    uint32_t uiPfxSidLen;
    uint32_t uiMsidLen;
    const uint8_t *pucExtComm;
    const uint8_t *pucPmsi;
    const QEL_NGMVPN_IMPORT_ATTR_S *pstImportAttr;
    const uint8_t *pucIpv6ExtComm;
    const uint8_t *pucPfxSid;
    const uint8_t *pucMsid;
    uint32_t uiCrossLen;
    const uint8_t *pucCross;
    uint32_t uiRdFlags;      /* bit 0 picks the display form of RDs and of four-octet AS numbers */
    uint32_t uiUserDataKind; /* 4: pstUserData is a QEL_PEER_S */
    uint32_t auiPathData[4]; /* host path data, not read here */
    uint32_t uiUserDataLen;
    const void *pstUserData;
    uint32_t uiPathData; /* host path data, not read here */
    uint32_t uiPolicyId; /* 0xFFFFFFFF: none */
} QEL_ROUTE_INFO_S;

#define QEL_USER_DATA_PEER UINT32_C(4)
#define QEL_POLICY_ID_NONE UINT32_C(0xFFFFFFFF)

/* The peer that a route may be advertised to, as pstUserData of kind QEL_USER_DATA_PEER. */
typedef struct {
    uint32_t uiPeerMode; /* 0 selects the check by route type */
    uint8_t ucRouteAddrLen;
    uint8_t ucPeerAddrLen; /* 4 or 16 octets */
    uint8_t aucReserved[2];
} QEL_PEER_S;
QEL_ASSERT_SIZE(QEL_PEER_S, 8);
QEL_ASSERT_OFFSET(QEL_PEER_S, ucRouteAddrLen, 4);
QEL_ASSERT_OFFSET(QEL_PEER_S, ucPeerAddrLen, 5);

/* The policy engine's prefix entry, as far as pfConstructRtpEntry writes it; the host may keep more behind it. */
typedef struct {
    uint16_t usReserved0;
    uint16_t usRtpFlags; /* bit 0x8: the route has no prefix to match */
    uint32_t auiReserved4[2];
    uint32_t uiRtpAddrType; /* 0 IPv4, 1 IPv6 */
    QEL_ADDR_S stRtpAddr;
    uint32_t auiReserved32[4];
    uint32_t uiRtpPrefixLen; /* bits */
} QEL_RTP_ENTRY_S;
QEL_ASSERT_OFFSET(QEL_RTP_ENTRY_S, usRtpFlags, 2);
QEL_ASSERT_OFFSET(QEL_RTP_ENTRY_S, uiRtpAddrType, 12);
QEL_ASSERT_OFFSET(QEL_RTP_ENTRY_S, stRtpAddr, 16);
QEL_ASSERT_OFFSET(QEL_RTP_ENTRY_S, uiRtpPrefixLen, 48);

QEL_EXTERN_C_END

#endif
