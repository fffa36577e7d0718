/* Attribute sections of a NG-MVPN route. They cross to the host inside result blocks, so their layouts, gaps included,
 * are formats. Multi-byte fields are in host order unless told otherwise. */
#ifndef QEL_NGMVPN_ATTR_RECORDS_H
#define QEL_NGMVPN_ATTR_RECORDS_H

#include "qel_route.h"

QEL_EXTERN_C_BEGIN

/* Tunnel types of the PMSI Tunnel attribute (RFC 6514, section 5; BIER: RFC 8556). */
#define QEL_NGMVPN_TNL_NONE UINT8_C(0)
#define QEL_NGMVPN_TNL_RSVP_TE_P2MP UINT8_C(1)
#define QEL_NGMVPN_TNL_MLDP_P2MP UINT8_C(2)
#define QEL_NGMVPN_TNL_PIM_SSM UINT8_C(3)
#define QEL_NGMVPN_TNL_PIM_SM UINT8_C(4)
#define QEL_NGMVPN_TNL_BIDIR_PIM UINT8_C(5)
#define QEL_NGMVPN_TNL_INGRESS_REPLICATION UINT8_C(6)
#define QEL_NGMVPN_TNL_MLDP_MP2MP UINT8_C(7)
#define QEL_NGMVPN_TNL_BIER UINT8_C(11)

#define QEL_NGMVPN_OPAQUE_MAX 240

/* The PMSI tunnel record. A route holds the front of it that its tunnel type uses: 20 bytes for type 1,
 * 20 + usOpaqueLen for type 2, 16 or 28 for type 11. */
typedef struct {
    uint8_t ucFlags;
    uint8_t ucTnlType;
    uint8_t aucReserved2[2];
    uint32_t uiLabel; /* the 24 bits of the label field as they stand, not shifted */
    union {
        uint8_t aucIdentifier[260]; /* first, so that an empty initialiser clears every form */
        struct {
            uint32_t uiP2mpId;
            uint16_t usReserved; /* always 0 */
            uint16_t usTunnelId;
            uint32_t uiExtTunnelId;
        } stRsvpTe; /* type 1 */
        struct {
            uint8_t ucFecType;
            uint8_t ucAddrLen;     /* octets: 4 or 16 */
            uint16_t usAddrFamily; /* 1 or 2 */
            uint32_t uiRootAddr;   /* four octets whatever ucAddrLen says */
            uint16_t usOpaqueLen;
            uint8_t aucReserved18[2];
            uint8_t aucOpaque[QEL_NGMVPN_OPAQUE_MAX];
        } stMldp; /* type 2 */
        struct {
            uint8_t ucSubDomainId;
            uint8_t ucBfrPrefixLen; /* octets: 4 or 16 */
            uint16_t usBfrId;
            QEL_ADDR_S stBfrPrefix;
        } stBier; /* type 11 */
    } uTnl;
} QEL_NGMVPN_PMSI_TNL_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_PMSI_TNL_S, 268);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uiLabel, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stRsvpTe.uiP2mpId, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stRsvpTe.usReserved, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stRsvpTe.usTunnelId, 14);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stRsvpTe.uiExtTunnelId, 16);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.ucFecType, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.ucAddrLen, 9);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.usAddrFamily, 10);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.uiRootAddr, 12);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.usOpaqueLen, 16);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stMldp.aucOpaque, 20);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stBier.ucSubDomainId, 8);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stBier.ucBfrPrefixLen, 9);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stBier.usBfrId, 10);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PMSI_TNL_S, uTnl.stBier.stBfrPrefix, 12);

#define QEL_NGMVPN_PMSI_SECTION_RSVP_TE 20
#define QEL_NGMVPN_PMSI_SECTION_MLDP_BASE 20
#define QEL_NGMVPN_PMSI_SECTION_BIER_IPV4 16
#define QEL_NGMVPN_PMSI_SECTION_BIER_IPV6 28

/* Endpoint behaviors (RFC 8986 registry) that have a text. */
#define QEL_NGMVPN_BEHAVIOR_SRC_DT6 UINT16_C(68)
#define QEL_NGMVPN_BEHAVIOR_SRC_DT4 UINT16_C(69)

#define QEL_NGMVPN_PFXSID_ATTR_LEN 28

/* The Prefix-SID record: parsed fields, then the attribute as received. */
typedef struct {
    uint16_t usEndpointBehavior;
    uint16_t usReserved;
    uint32_t auiSid[4]; /* each word in host order */
    uint8_t aucRawTlv[QEL_NGMVPN_PFXSID_ATTR_LEN];
} QEL_NGMVPN_PFXSID_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_PFXSID_S, 48);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PFXSID_S, auiSid, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_PFXSID_S, aucRawTlv, 20);

/* The MSID record: parsed fields, 20 bytes, then the attribute as received, 20 or 28 bytes. */
typedef struct {
    uint8_t ucPrefixLen;
    uint8_t ucMsidLen;
    uint8_t ucHasStructure; /* 1: the two lengths have been read */
    uint8_t ucReserved3;
    uint32_t auiMsid[4]; /* each word in host order */
    QEL_BYTES_BEHIND(aucRawAttr)
} QEL_NGMVPN_MSID_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_MSID_S, 20);
QEL_ASSERT_OFFSET(QEL_NGMVPN_MSID_S, auiMsid, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_MSID_S, aucRawAttr, 20);

/* One address in a configuration record. */
typedef struct QEL_PACKED {
    uint32_t uiIpv4Addr; /* host order */
    uint8_t aucIpv6Addr[16];
    uint8_t ucIpVersion; /* 0 IPv4, 1 IPv6 */
} QEL_NGMVPN_CFG_PREFIX_S;
QEL_ASSERT_SIZE(QEL_NGMVPN_CFG_PREFIX_S, 21);
QEL_ASSERT_OFFSET(QEL_NGMVPN_CFG_PREFIX_S, aucIpv6Addr, 4);
QEL_ASSERT_OFFSET(QEL_NGMVPN_CFG_PREFIX_S, ucIpVersion, 20);

/* A key's configuration record as written, bytes reserved whatever the form; an RD's record, both ways. */
#define QEL_NGMVPN_CFG_KEY_LEN 89
#define QEL_NGMVPN_CFG_RD_LEN 16
#define QEL_NGMVPN_CFG_RD_AT 4 /* the RD's place in its record; ucRdForm stands behind it */

/* ucIpVersion. */
#define QEL_NGMVPN_CFG_IPV4 UINT8_C(0)
#define QEL_NGMVPN_CFG_IPV6 UINT8_C(1)

/* First word of a key's record as written: its form, which is not the key type. */
#define QEL_NGMVPN_CFG_FORM_INTRA_IPV4 UINT32_C(0)
#define QEL_NGMVPN_CFG_FORM_INTER UINT32_C(2)
#define QEL_NGMVPN_CFG_FORM_SPMSI UINT32_C(3)
#define QEL_NGMVPN_CFG_FORM_INTER_LEAF UINT32_C(4)
#define QEL_NGMVPN_CFG_FORM_SPMSI_LEAF UINT32_C(5)
#define QEL_NGMVPN_CFG_FORM_SOURCE_ACTIVE UINT32_C(6)
#define QEL_NGMVPN_CFG_FORM_CMULTICAST UINT32_C(7)
#define QEL_NGMVPN_CFG_FORM_IPMSI_LEAF UINT32_C(13)
#define QEL_NGMVPN_CFG_FORM_INTRA_IPV6 UINT32_C(15)

/* The same records where they stand inside a section, at any address. */
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_PMSI_TNL_S, QEL_NGMVPN_PMSI_TNL_AT_S);
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_PFXSID_S, QEL_NGMVPN_PFXSID_AT_S);
QEL_AT_ANY_ADDRESS(QEL_NGMVPN_MSID_S, QEL_NGMVPN_MSID_AT_S);

QEL_EXTERN_C_END

#endif
