/* A BGP core in miniature: reads the routes of an MP_REACH_NLRI attribute through the NG-MVPN family. */
#include "ngmvpn/qel_ngmvpn_records.h"
#include "platform/zvk.h"
#include "qel_family.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

int main(void)
{
    /* Two Source Tree Joins, as they stand behind the next hop: RD 100:1, source AS 64500, (10.1.0.1, 232.1.1.1) ... */
    static const uint8_t aucNlri[] = {7, 22, 0, 0,  0,   100, 0,  0,  0, 1,  0, 0,  251, 244, 32, 10,
                                      1, 0,  1, 32, 232, 1,   1,  1,  7, 22, 0, 0,  0,   100, 0,  0,
                                      0, 1,  0, 0,  251, 244, 32, 10, 1, 0,  2, 32, 232, 1,   1,  2};

    QEL_FAMILY_DESC_S stDesc = {.uiAddrFamily = 1}; /* IPv4 */
    QEL_FAMILY_CTX_S *pstCtx = QEL_NGMVPN_Construct4Mvpn(&stDesc, 1 /* memory handle */);
    if (pstCtx == NULL) {
        return 1;
    }
    const uint8_t *pucAt = aucNlri;
    const uint8_t *pucEnd = aucNlri + sizeof(aucNlri);
    uint32_t uiMore = 1;
    while (uiMore == 1) {
        QEL_ROUTE_BLOCK_S *pstBlock = NULL;
        uiMore = 0;
        uint32_t uiRet = stDesc.pfParsePkt(&pucAt, (uint32_t)(pucEnd - pucAt), 0, 14, &pstBlock, &uiMore, pstCtx);
        if (uiRet != QEL_OK || pstBlock == NULL) {
            printf("refused: 0x%" PRIx32 "\n", uiRet);
            break;
        }
        QEL_NGMVPN_KEY_S stKey; /* a section may stand at any offset: copy it out */
        memcpy(&stKey, (const uint8_t *)pstBlock + pstBlock->usKeyOffset, sizeof(stKey));
        printf("key type %" PRIu32 ", RD %u:%" PRIu32 ", group 0x%08" PRIx32 "\n", stKey.uiKeyType, stKey.stRd.usAsn,
               stKey.stRd.uiAssigned, stKey.uKey.stCMulticastRoute.stGrpAddr.uiIpv4);
        ZVK_Free_F(pstBlock, __FILE__, __LINE__); /* a block is the host's from the moment that it has it */
    }
    QEL_NGMVPN_Destruct(pstCtx);
    return 0;
}
