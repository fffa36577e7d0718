/* Records of the NG-MVPN family that cross to the host: the key and non-key sections of a MCAST-VPN route (RFC 6514).
 * All zero before parsing; multi-byte values in host order; addresses as QEL_ADDR_S tells. */
#ifndef QEL_NGMVPN_RECORDS_H
#define QEL_NGMVPN_RECORDS_H

#include "qel_route.h"

QEL_EXTERN_C_BEGIN

/* uiKeyType. Not the wire's route type: a Leaf A-D route has two key types, by the route that it answers. */
#define QEL_NGMVPN_KEY_INTRA_IPMSI_AD UINT32_C(1)
#define QEL_NGMVPN_KEY_INTER_IPMSI_AD UINT32_C(2)
#define QEL_NGMVPN_KEY_SPMSI_AD UINT32_C(3)
#define QEL_NGMVPN_KEY_IPMSI_LEAF_AD UINT32_C(4)
#define QEL_NGMVPN_KEY_SPMSI_LEAF_AD UINT32_C(5)
#define QEL_NGMVPN_KEY_SOURCE_ACTIVE_AD UINT32_C(6)
#define QEL_NGMVPN_KEY_SHARED_TREE_JOIN UINT32_C(7)
#define QEL_NGMVPN_KEY_SOURCE_TREE_JOIN UINT32_C(8)

/* Route types on the wire (RFC 6514, section 4). */
#define QEL_NGMVPN_WIRE_INTRA_IPMSI_AD UINT8_C(1)
#define QEL_NGMVPN_WIRE_INTER_IPMSI_AD UINT8_C(2)
#define QEL_NGMVPN_WIRE_SPMSI_AD UINT8_C(3)
#define QEL_NGMVPN_WIRE_LEAF_AD UINT8_C(4)
#define QEL_NGMVPN_WIRE_SOURCE_ACTIVE_AD UINT8_C(5)
#define QEL_NGMVPN_WIRE_SHARED_TREE_JOIN UINT8_C(6)
#define QEL_NGMVPN_WIRE_SOURCE_TREE_JOIN UINT8_C(7)

/* ucRdKind: the RD of stRd belongs to the route key. */
#define QEL_NGMVPN_RD_KIND_KEY UINT8_C(2)
/* ucRdKind of a key that configuration gave. */
#define QEL_NGMVPN_RD_KIND_CFG UINT8_C(3)

/* Component codes, usInstanceKind of the context. */
#define QEL_NGMVPN_KIND_MVRF_IPV4 UINT16_C(985)
#define QEL_NGMVPN_KIND_MVRF_IPV6 UINT16_C(298)
#define QEL_NGMVPN_KIND_MVPN_IPV4 UINT16_C(1793)
#define QEL_NGMVPN_KIND_MVPN_IPV6 UINT16_C(299)

/* Bits of the address length byte. */
#define QEL_NGMVPN_ADDR_LEN_IPV4 UINT8_C(32)
#define QEL_NGMVPN_ADDR_LEN_IPV6 UINT8_C(128)

/* Sub-type octet of the Segmented Next-Hop community (RFC 7524), the first octet of an element in memory. */
#define QEL_NGMVPN_SUBTYPE_SNH UINT8_C(18)

/* The key section. The union overlays the fields of the key types. */
typedef struct {
    uint32_t uiKeyType;
    union {
        uint8_t aucBody[88]; /* first, so that an empty initialiser clears every form */
        struct {
            uint8_t aucReserved4[4];
            uint8_t ucOrigAddrLen;
            uint8_t aucReserved9[3];
            QEL_ADDR_S stOrigAddr;
        } stIntraIpmsiAd; /* key type 1 */
        struct {
            uint32_t uiSourceAs;
        } stInterIpmsiAd; /* key type 2 */
        struct {
            uint8_t ucSrcAddrLen;
            uint8_t aucReserved5[3];
            QEL_ADDR_S stSrcAddr;
            uint8_t ucGrpAddrLen;
            uint8_t aucReserved25[2];
            uint8_t ucKeyAddrFamily; /* 1 IPv4, 2 IPv6, 0 not known */
            QEL_ADDR_S stGrpAddr;
            uint8_t aucReserved44[4];
            uint8_t ucOrigAddrLen;
            uint8_t aucReserved49[3];
            QEL_ADDR_S stOrigAddr;
        } stSpmsiAd; /* key type 3 */
        struct {
            uint8_t aucReserved4[8];
            uint8_t ucOrigAddrLen;
            uint8_t aucReserved13[3];
            QEL_ADDR_S stOrigAddr;
            uint8_t ucLeafAddrLen;
            uint8_t aucReserved33[3];
            QEL_ADDR_S stLeafAddr;
        } stIpmsiLeafAd; /* key type 4 */
        struct {
            uint8_t ucSrcAddrLen;
            uint8_t aucReserved5[3];
            QEL_ADDR_S stSrcAddr;
            uint8_t ucGrpAddrLen;
            uint8_t aucReserved25[2];
            uint8_t ucKeyAddrFamily; /* 1 IPv4, 2 IPv6, 0 not known */
            QEL_ADDR_S stGrpAddr;
            uint8_t aucReserved44[8];
            uint8_t ucOrigAddrLen;
            uint8_t aucReserved53[3];
            QEL_ADDR_S stOrigAddr;
            uint8_t ucLeafAddrLen;
            uint8_t aucReserved73[3];
            QEL_ADDR_S stLeafAddr;
        } stSpmsiLeafAd; /* key type 5 */
        struct {
            uint8_t ucSrcAddrLen;
            uint8_t aucReserved5[3];
            QEL_ADDR_S stSrcAddr;
            uint8_t ucGrpAddrLen;
            uint8_t aucReserved25[3];
            QEL_ADDR_S stGrpAddr;
        } stSourceActiveAd; /* key type 6 */
        struct {
            uint32_t uiSourceAs;
            uint8_t ucSrcAddrLen;
            uint8_t aucReserved9[3];
            QEL_ADDR_S stSrcAddr;
            uint8_t ucGrpAddrLen;
            uint8_t aucReserved29[3];
            QEL_ADDR_S stGrpAddr;
        } stCMulticastRoute; /* key types 7 and 8 */
    } uKey;
    QEL_RD_VALUE_S stRd;
    uint8_t ucRdKind;
    uint8_t aucReserved101[3];
} QEL_NGMVPN_KEY_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_KEY_S, 104);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIntraIpmsiAd.ucOrigAddrLen, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIntraIpmsiAd.stOrigAddr, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stInterIpmsiAd.uiSourceAs, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucSrcAddrLen, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.stSrcAddr, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucGrpAddrLen, 24);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucKeyAddrFamily, 27);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.stGrpAddr, 28);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.ucOrigAddrLen, 48);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiAd.stOrigAddr, 52);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.ucOrigAddrLen, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.stOrigAddr, 16);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.ucLeafAddrLen, 32);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stIpmsiLeafAd.stLeafAddr, 36);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucSrcAddrLen, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.stSrcAddr, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucGrpAddrLen, 24);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucKeyAddrFamily, 27);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.stGrpAddr, 28);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucOrigAddrLen, 52);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.stOrigAddr, 56);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.ucLeafAddrLen, 72);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSpmsiLeafAd.stLeafAddr, 76);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.ucSrcAddrLen, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.stSrcAddr, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.ucGrpAddrLen, 24);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stSourceActiveAd.stGrpAddr, 28);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.uiSourceAs, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.ucSrcAddrLen, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.stSrcAddr, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.ucGrpAddrLen, 28);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, uKey.stCMulticastRoute.stGrpAddr, 32);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, stRd, 92);
QEL_ASSERT_OFFSET(QEL_NGMVPN_KEY_S, ucRdKind, 100);

/* usFlags of the non-key: which of its fields are valid. */
#define QEL_NGMVPN_NONKEY_TYPE UINT16_C(0x1)
#define QEL_NGMVPN_NONKEY_USER_DATA UINT16_C(0x2)
#define QEL_NGMVPN_NONKEY_EMBEDDED_KEY UINT16_C(0x4)
#define QEL_NGMVPN_NONKEY_RD UINT16_C(0x10)

#define QEL_NGMVPN_EMBEDDED_KEY_LEN 60

/* The non-key section. */
typedef struct {
    uint16_t usFlags;
    uint16_t usUserAddrLen;
    uint32_t uiKeyType;
    uint32_t uiReserved8;
    QEL_ADDR_S stUserAddr;
    uint32_t uiUserValue;
    QEL_RD_VALUE_S stRd;                                 /* host order; not set for Leaf A-D routes */
    uint8_t aucEmbeddedKey[QEL_NGMVPN_EMBEDDED_KEY_LEN]; /* Leaf A-D: wire form, from the route type octet on */
} QEL_NGMVPN_NONKEY_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_NONKEY_S, 100);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, usUserAddrLen, 2);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, uiKeyType, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, stUserAddr, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, uiUserValue, 28);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, stRd, 32);
QEL_ASSERT_OFFSET(QEL_NGMVPN_NONKEY_S, aucEmbeddedKey, 40);

/* The policy's instruction to replace a tunnel; carried and compared alone. */
typedef struct {
    uint32_t uiPlyType;
    uint32_t uiRootIp;
    uint32_t uiTempId;
} QEL_NGMVPN_PLY_INFO_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_PLY_INFO_S, 12);

/* uiAttrFlag of one set of attributes at a segmentation point. */
#define QEL_NGMVPN_SEG_SNH UINT32_C(0x1)  /* aucSnh is valid */
#define QEL_NGMVPN_SEG_PMSI UINT32_C(0x2) /* a PMSI record is held */
#define QEL_NGMVPN_SEG_SET UINT32_C(0x8)  /* the set came into being */

#define QEL_NGMVPN_SNH_LEN 8

/* One set of attributes: the Segmented Next-Hop community and the PMSI tunnel (RFC 7524). */
typedef struct {
    uint32_t uiAttrFlag;
    uint8_t aucSnh[QEL_NGMVPN_SNH_LEN]; /* one QEL_EXTCOMM_S, host order */
    uint16_t usPmsiOffset;              /* of the set's PMSI record in aucPmsiData */
    uint16_t usPmsiLen;
} QEL_NGMVPN_SEG_ATTR_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_SEG_ATTR_S, 16);
QEL_ASSERT_OFFSET(QEL_NGMVPN_SEG_ATTR_S, aucSnh, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_SEG_ATTR_S, usPmsiOffset, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_SEG_ATTR_S, usPmsiLen, 14);

#define QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN 152

/* The import attribute record: what a route brought to a segmentation point and what replaces it. It is allocated at
 * QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN plus both usPmsiLen. */
struct QEL_NGMVPN_IMPORT_ATTR {
    QEL_NGMVPN_KEY_S stKey;
    uint32_t uiPolicyId; /* QEL_POLICY_ID_NONE: none */
    QEL_NGMVPN_PLY_INFO_S stPlyInfo;
    QEL_NGMVPN_SEG_ATTR_S stOriginalAttr;
    QEL_NGMVPN_SEG_ATTR_S stReplacedAttr;
    /* the PMSI records of both sets, back to back */
    QEL_BYTES_BEHIND(aucPmsiData)
};
QEL_ASSERT_SIZE(QEL_NGMVPN_IMPORT_ATTR_S, QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
QEL_ASSERT_OFFSET(QEL_NGMVPN_IMPORT_ATTR_S, uiPolicyId, 104);
QEL_ASSERT_OFFSET(QEL_NGMVPN_IMPORT_ATTR_S, stPlyInfo, 108);
QEL_ASSERT_OFFSET(QEL_NGMVPN_IMPORT_ATTR_S, stOriginalAttr, 120);
QEL_ASSERT_OFFSET(QEL_NGMVPN_IMPORT_ATTR_S, stReplacedAttr, 136);
QEL_ASSERT_OFFSET(QEL_NGMVPN_IMPORT_ATTR_S, aucPmsiData, QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);

/* The same records where they stand inside a section, at any address. Every const record argument of the family has
 * such a type, so that a section pointer can be passed as it is. */
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_KEY_S, QEL_NGMVPN_KEY_AT_S);
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_NONKEY_S, QEL_NGMVPN_NONKEY_AT_S);
QEL_AT_ANY_ADDRESS(QEL_ADDR_S, QEL_ADDR_AT_S);
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_IMPORT_ATTR_S, QEL_NGMVPN_IMPORT_ATTR_AT_S);

QEL_EXTERN_C_END

#endif
