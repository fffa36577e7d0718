/* Return codes of the multicast address families. Every operation returns one of them as a uint32_t. */
#ifndef QEL_CODES_H
#define QEL_CODES_H

#include <stdint.h>

/* Success; from pfParsePkt also: nothing to do. */
#define QEL_OK UINT32_C(0)
/* General failure of a small routine, or a rendering that failed. */
#define QEL_ERR_FAILED UINT32_C(1)
/* Bad argument, or a required input is missing. */
#define QEL_ERR_ARGUMENT UINT32_C(2)
/* No memory, in a path that does not use QEL_ERR_ALLOC. */
#define QEL_ERR_MEMORY UINT32_C(3)
/* Output buffer too short, in a path that does not use QEL_ERR_ABSENT. */
#define QEL_ERR_SPACE UINT32_C(4)

/* Extended community attribute of length 0. */
#define QEL_ERR_EXTCOMM_EMPTY UINT32_C(0x20001)
/* PMSI tunnel type 0 with an empty identifier. */
#define QEL_ERR_PMSI_NO_TUNNEL UINT32_C(0x20004)
/* Prefix-SID attribute of the wrong length. */
#define QEL_ERR_PFXSID_LEN UINT32_C(0x30001)
/* PMSI flags outside the known bits. */
#define QEL_ERR_PMSI_FLAGS UINT32_C(0x30004)
/* Community attribute that is not a whole number of elements. */
#define QEL_ERR_EXTCOMM_LEN UINT32_C(0x30009)
/* PMSI identifier field not valid, or tunnel type not carried. */
#define QEL_ERR_PMSI_IDENT UINT32_C(0x3000a)
/* PMSI attribute or identifier of the wrong length. */
#define QEL_ERR_PMSI_LEN UINT32_C(0x3000b)

/* Memory allocation failed: result blocks and extended community work. */
#define QEL_ERR_ALLOC UINT32_C(0x50001)
/* Null pointer or other bad argument, after ZVK_Assert; a view without a byte to write, without. */
#define QEL_ERR_NULL UINT32_C(0x50002)

/* Malformed NLRI: the length or an address length is wrong. The host gives up the attribute. */
#define QEL_ERR_NLRI_MALFORMED UINT32_C(0x60001)
/* Well-formed route that the family refuses: route type, RD type, zero address or address family. */
#define QEL_ERR_NLRI_REFUSED UINT32_C(0x60002)

/* Malformed MSID attribute. */
#define QEL_ERR_MSID UINT32_C(0x70001)

/* Value not valid: unknown RD or RT type, key type outside 1 to 8. */
#define QEL_ERR_VALUE UINT32_C(0x80001)
/* Malformed extended community TLV. */
#define QEL_ERR_EXTCOMM_TLV UINT32_C(0x80002)
/* No table entry or no handler for the type. */
#define QEL_ERR_NO_ENTRY UINT32_C(0x80003)
/* TLV not valid in route path and import messages. */
#define QEL_ERR_TLV UINT32_C(0x80004)
/* Tunnel well formed but not carried; never leaves the tunnel readers. */
#define QEL_ERR_TNL_NOT_CARRIED UINT32_C(0x80006)
/* PMSI record of an import attribute not valid. */
#define QEL_ERR_IMPORT_PMSI UINT32_C(0x80009)
/* Prefix-SID TLV or sub-TLV length wrong. */
#define QEL_ERR_PFXSID_TLV UINT32_C(0x8000a)
/* PMSI record of an import attribute of the wrong length. */
#define QEL_ERR_IMPORT_PMSI_LEN UINT32_C(0x8000b)
/* Required section absent, or output buffer too small. */
#define QEL_ERR_ABSENT UINT32_C(0x80012)
/* No pfApplyAction entry. */
#define QEL_ERR_NO_ACTION UINT32_C(0x80013)
/* Configuration RD text not valid. */
#define QEL_ERR_CFG_RD UINT32_C(0x80015)
/* No pfData2Str entry. */
#define QEL_ERR_NO_DATA2STR UINT32_C(0x80017)

/* Signed results of the compares. */
#define QEL_CMP_LESS INT32_C(-1)
#define QEL_CMP_EQUAL INT32_C(0)
#define QEL_CMP_GREATER INT32_C(1)
/* A compare's pointer or length check failed, or the type has no handler. Never an order. */
#define QEL_CMP_FAILED INT32_C(-2)

/* Results of pfSetAttrAfterPlcy beside QEL_OK: what becomes of the route. */
#define QEL_PLCY_DENY UINT32_C(6)
#define QEL_PLCY_WITHDRAW UINT32_C(7)

#endif
