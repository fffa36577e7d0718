/* Platform services of a router in miniature, in C: nothing here comes from the library's own tree but the headers that
 * declare what it asks for. */
#define _POSIX_C_SOURCE 200809L
#include "services.h"

#include "platform/bounds.h"
#include "platform/ksx.h"
#include "platform/kvo.h"
#include "platform/zvk.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

SERVICES_S g_stServices;

/* Stands in front of every block; four octets of the same kind stand behind it. */
typedef struct {
    uint32_t uiMark;
    uint32_t uiSize;
    uint64_t ullAlign;
} HEADER_S;
#define MARK_LIVE UINT32_C(0x4c495645)
#define MARK_FREED UINT32_C(0x46524545)

void ZVK_Assert(const char *pszFile, uint32_t uiLine, uint64_t ullValue)
{
    if (pszFile == NULL || uiLine == 0) {
        ++g_stServices.uiMisuse;
    }
    (void)ullValue;
    ++g_stServices.uiAsserts;
}

void *ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *pszFile, uint32_t uiLine)
{
    HEADER_S *pstHeader = malloc(sizeof(*pstHeader) + uiSize + sizeof(uint32_t));
    if (pstHeader == NULL) {
        return NULL;
    }
    if (uiMemHandle != MEM_HANDLE || pszFile == NULL || uiLine == 0) {
        ++g_stServices.uiMisuse;
    }
    const uint32_t uiMark = MARK_LIVE;
    pstHeader->uiMark = uiMark;
    pstHeader->uiSize = uiSize;
    memset(pstHeader + 1, 0xa5, uiSize); /* not cleared: whoever counts on zeros is found out */
    memcpy((char *)(pstHeader + 1) + uiSize, &uiMark, sizeof(uiMark));
    ++g_stServices.uiLive;
    ++g_stServices.uiAllocations;
    return pstHeader + 1;
}

void ZVK_Free_F(void *pvMem, const char *pszFile, uint32_t uiLine)
{
    if (pvMem == NULL) {
        return;
    }
    HEADER_S *pstHeader = (HEADER_S *)pvMem - 1;
    uint32_t uiBehind = 0;
    if (pstHeader->uiMark == MARK_LIVE) {
        memcpy(&uiBehind, (char *)pvMem + pstHeader->uiSize, sizeof(uiBehind));
    }
    if (uiBehind != MARK_LIVE || pszFile == NULL || uiLine == 0) {
        ++g_stServices.uiMisuse;
        return;
    }
    pstHeader->uiMark = MARK_FREED;
    --g_stServices.uiLive;
    free(pstHeader);
}

void KSX_Debug(uint32_t uiModule, uint32_t uiHandle, const char *pszName, uint32_t uiCode, const char *pszFormat, ...)
{
    va_list stArgs;
    (void)pszName;
    (void)uiCode;
    va_start(stArgs, pszFormat);
    (void)vsnprintf(g_stServices.acDebug, sizeof(g_stServices.acDebug), pszFormat, stArgs);
    va_end(stArgs);
    g_stServices.uiDebugModule = uiModule;
    g_stServices.uiDebugHandle = uiHandle;
    ++g_stServices.uiDebugs;
}

uint32_t KVO_StrLen(const char *pszText)
{
    return pszText != NULL ? (uint32_t)strlen(pszText) : 0;
}

int32_t KVO_MemCmp(const void *pvA, const void *pvB, uint32_t uiLen)
{
    return memcmp(pvA, pvB, uiLen);
}

char *KVO_IpAddrToStr(uint32_t uiAddr, char *pcOut)
{
    (void)snprintf(pcOut, 16, "%u.%u.%u.%u", uiAddr >> 24, (uiAddr >> 16) & 255U, (uiAddr >> 8) & 255U, uiAddr & 255U);
    return pcOut;
}

char *KVO_Uint32ToStr(uint32_t uiValue, char *pcOut, uint32_t uiBase)
{
    (void)snprintf(pcOut, 11, uiBase == 16 ? "%x" : "%u", uiValue);
    return pcOut;
}

char *KVO_Inet_ntoa_b_ipv6_ex(KVO_IPV6_ADDR_S stAddr, char *pcOut, uint32_t uiOutLen)
{
    struct in6_addr stWire;
    for (uint32_t i = 0; i < sizeof(stAddr.aucAddr); i += 2) { /* eight halves in host order */
        stWire.s6_addr[i] = stAddr.aucAddr[i + 1];
        stWire.s6_addr[i + 1] = stAddr.aucAddr[i];
    }
    if (inet_ntop(AF_INET6, &stWire, pcOut, uiOutLen) == NULL && uiOutLen != 0) {
        pcOut[0] = '\0';
    }
    return pcOut;
}

int32_t memcpy_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (pvDst == NULL || pvSrc == NULL || ulDstMax == 0 || ulCount > ulDstMax) {
        return 1;
    }
    memcpy(pvDst, pvSrc, ulCount);
    return 0;
}

int32_t memmove_s(void *pvDst, size_t ulDstMax, const void *pvSrc, size_t ulCount)
{
    if (pvDst == NULL || pvSrc == NULL || ulDstMax == 0 || ulCount > ulDstMax) {
        return 1;
    }
    memmove(pvDst, pvSrc, ulCount);
    return 0;
}

int32_t memset_s(void *pvDst, size_t ulDstMax, int32_t iValue, size_t ulCount)
{
    if (pvDst == NULL || ulDstMax == 0 || ulCount > ulDstMax) {
        return 1;
    }
    memset(pvDst, iValue, ulCount);
    return 0;
}

int32_t strcat_s(char *pcDst, size_t ulDstMax, const char *pszSrc)
{
    if (pcDst == NULL || pszSrc == NULL || ulDstMax == 0 || strnlen(pcDst, ulDstMax) + strlen(pszSrc) >= ulDstMax) {
        return 1;
    }
    strcat(pcDst, pszSrc);
    return 0;
}

int32_t vsnprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, va_list stArgs)
{
    if (pcDst == NULL || pszFormat == NULL || ulDstMax == 0) {
        return -1;
    }
    const int iWanted = vsnprintf(pcDst, ulDstMax, pszFormat, stArgs);
    if (iWanted < 0) {
        return -1;
    }
    return (size_t)iWanted < ulDstMax ? iWanted : (int32_t)(ulDstMax - 1);
}

int32_t snprintf_truncated_s(char *pcDst, size_t ulDstMax, const char *pszFormat, ...)
{
    va_list stArgs;
    va_start(stArgs, pszFormat);
    const int32_t iWritten = vsnprintf_truncated_s(pcDst, ulDstMax, pszFormat, stArgs);
    va_end(stArgs);
    return iWritten;
}
