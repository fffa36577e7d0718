/* Small services of the NG-MVPN family: scratch memory, debug output, byte order of RDs, route targets and addresses.
 */
#ifndef QEL_NGMVPN_UTIL_H
#define QEL_NGMVPN_UTIL_H

#include "platform/kvo.h"
#include "qel_family.h"
#include "qel_ngmvpn_records.h"

QEL_EXTERN_C_BEGIN

/* Scratch memory for one call: the context's inline buffer for one request of at most 256 bytes at a time, else the
 * heap. Not cleared. Null: size 0, no memory, or (reported) no context. Give it back with QEL_NGMVPN_Free. */
void *QEL_NGMVPN_Malloc(QEL_FAMILY_CTX_S *pstCtx, uint32_t uiSize);

/* Gives scratch memory back and sets *ppvMem to null. A null argument or a null *ppvMem is reported and ignored. */
void QEL_NGMVPN_Free(void **ppvMem, QEL_FAMILY_CTX_S *pstCtx);

/* The family's pfSetLibDebug: debug output goes to uiDebugHandle of uiDebugModule from now on, 0 turns it off. A null
 * context is ignored without report. Returns QEL_OK. */
uint32_t QEL_NGMVPN_SetLibDebug(uint32_t uiDebugModule, uint32_t uiDebugHandle, QEL_FAMILY_CTX_S *pstCtx);

/* Writes a debug message, prefixed with the line and cut at 700 bytes with its terminator. Nothing without a context or
 * while debug output is off. */
void QEL_NGMVPN_Debug(const QEL_FAMILY_CTX_S *pstCtx, uint32_t uiLine, const char *pszFormat, ...)
    __attribute__((format(printf, 3, 4)));

/* Dumps the full groups of eight bytes as debug messages; the last uiLen mod 8 bytes are not shown. */
void QEL_NGMVPN_Print_Mem(const QEL_FAMILY_CTX_S *pstCtx, const uint8_t *pucData, uint32_t uiLen);

/* The disabled log: takes a message and does nothing. */
void QEL_NGMVPN_Print_LogInfo(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

/* An RD (RFC 4364) from host to network order in place. A type above 2 has its type word swapped alone. */
void QEL_NGMVPN_ConvertRDValueHTON(QEL_RD_VALUE_S *pstRd);

/* A route target from host to network order in place, type word and value. uiSize below 8 is reported and refused; a
 * type that is no route target keeps its value. */
void QEL_NGMVPN_ConvertRTValueHTON(QEL_EXTCOMM_S *pstRt, uint32_t uiSize);

/* The value of a route target of the host-order type uiRtType, swapped in place; the type word stays. */
void QEL_NGMVPN_ConvertRtValuebyType(uint32_t uiRtType, QEL_EXTCOMM_S *pstRt);

/* The value of an IPv6 route target swapped in place, whatever uiRtType says; the two are the same swap. */
void QEL_NGMVPN_ConvertIPv6RtValuebyType(uint32_t uiRtType, QEL_IPV6_EXTCOMM_S *pstRt);
void QEL_NGMVPN_ConvertIPv6RtValueHTONbyType(uint32_t uiRtType, QEL_IPV6_EXTCOMM_S *pstRt);

/* An IPv6 route target in place, type word and, for the types that are route targets, value. uiSize below 20 is
 * reported and refused. */
void QEL_NGMVPN_ConvertIPv6RTValueNTOH(QEL_IPV6_EXTCOMM_S *pstRt);
void QEL_NGMVPN_ConvertIPv6RTValueHTON(QEL_IPV6_EXTCOMM_S *pstRt, uint32_t uiSize);

/* Four host-order words to the platform's form, and sixteen wire bytes to the platform's form; not inverses. */
void QEL_NGMVPN_ConvertKvoIPv6AddrInHost(KVO_IPV6_ADDR_S *pstAddr);
void QEL_NGMVPN_ConvertKvoIPv6AddrInNet(KVO_IPV6_ADDR_S *pstAddr);

/* One route target from the cursor, 8 or 20 bytes in network order, to host order. QEL_ERR_VALUE with the cursor
 * unmoved for a type that is no route target. */
uint32_t QEL_NGMVPN_GetRtValue(const uint8_t **ppucCursor, QEL_EXTCOMM_S *pstRt);
uint32_t QEL_NGMVPN_GetIPv6RtValue(const uint8_t **ppucCursor, QEL_IPV6_EXTCOMM_S *pstRt);

/* The four-byte marker of global table routes from the cursor, as it stands. Returns QEL_OK. */
uint32_t QEL_NGMVPN_GetGtmRdZeroValue(const uint8_t **ppucCursor, void *pvOut);

/* Extended community lists, plain arrays of 8-byte or 20-byte elements. The conversions swap every element in place;
 * HTON undoes NTOH for every input. */
void QEL_NGMVPN_ConvertExtCommunityNTOH(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
void QEL_NGMVPN_ConvertExtCommunityHTON(QEL_EXTCOMM_S *pastList, uint32_t uiCount);
void QEL_NGMVPN_ConvertIPv6ExtCommunityNTOH(QEL_IPV6_EXTCOMM_S *pastList, uint32_t uiCount);
void QEL_NGMVPN_ConvertIPv6ExtCommunityHTON(QEL_IPV6_EXTCOMM_S *pastList, uint32_t uiCount);

/* Exchange sort in place over elements of uiSize bytes by pfCmp, which gets uiSize for both lengths; only a result of 1
 * exchanges. QEL_ERR_ALLOC without scratch memory. */
uint32_t QEL_NGMVPN_SortExtCommunitys_(uint8_t *pucList, uint16_t usCount, uint32_t uiSize,
                                       int32_t (*pfCmp)(const void *pvA, uint32_t uiLenA, const void *pvB,
                                                        uint32_t uiLenB),
                                       QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_SortExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_SortIPv6ExtCommunitys(QEL_IPV6_EXTCOMM_S *pastList, uint16_t usCount, QEL_FAMILY_CTX_S *pstCtx);

/* Drops repeated elements of a sorted list; *pusCount gets what is left, 1 for an empty list. */
uint32_t QEL_NGMVPN_RemoveDupExtCommunitys(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_RemoveDupIPv6ExtCommunitys(QEL_IPV6_EXTCOMM_S *pastList, uint16_t *pusCount,
                                               QEL_FAMILY_CTX_S *pstCtx);

/* Sort, then drop repeated elements. */
uint32_t QEL_NGMVPN_CleanupExtCommunity(QEL_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);
uint32_t QEL_NGMVPN_CleanupIPv6ExtCommunity(QEL_IPV6_EXTCOMM_S *pastList, uint16_t *pusCount, QEL_FAMILY_CTX_S *pstCtx);

QEL_EXTERN_C_END

#endif
