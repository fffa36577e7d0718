/* Text, compare and address services of the router platform. */
#ifndef PLATFORM_KVO_H
#define PLATFORM_KVO_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An IPv6 address as eight 16-bit halves, each in host order. */
typedef struct {
    uint8_t aucAddr[16];
} KVO_IPV6_ADDR_S;

/* Length of a text without its terminator. */
uint32_t KVO_StrLen(const char *pszText);

/* Compares two areas as unsigned bytes: negative, zero or positive by the first difference. */
int32_t KVO_MemCmp(const void *pvA, const void *pvB, uint32_t uiLen);

/* Dotted text of a host-order IPv4 address. pcOut holds 16 bytes and is returned. */
char *KVO_IpAddrToStr(uint32_t uiAddr, char *pcOut);

/* Text of a number in base 10 or 16; empty in any other. pcOut holds 11 bytes and is returned. */
char *KVO_Uint32ToStr(uint32_t uiValue, char *pcOut, uint32_t uiBase);

/* RFC 5952 text of an IPv6 address, at most uiOutLen bytes with the terminator. Returns pcOut. */
char *KVO_Inet_ntoa_b_ipv6_ex(KVO_IPV6_ADDR_S stAddr, char *pcOut, uint32_t uiOutLen);

#ifdef __cplusplus
}
#endif

#endif
