/* A small host written in C, for the test that runs it. */
#ifndef TESTS_C_HOST_H
#define TESTS_C_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define C_HOST_MEM_HANDLE 7
#define C_HOST_FAMILIES 5

/* What one family showed of itself through its descriptor. */
typedef struct {
    const char *pszName;
    uint32_t uiConstructed;
    uint32_t uiFamilyCode;
    uint32_t uiPktAttrCount;
    uint32_t uiInstanceKind;  /* 0 for the families whose context has no such field */
    uint32_t uiUnknownParse;  /* pfParsePkt with an attribute that no family knows */
    uint32_t uiUnknownFormat; /* pfFormatPkt with the same */
    int32_t iUnknownCompare;  /* pfCmpData with a kind that no family knows */
    uint32_t uiRouteType;     /* pfGetRouteType without a key where the family answers so */
    uint32_t uiHasLabelType;  /* pfGetLabelType is filled */
} C_HOST_FAMILY_S;

/* Constructs each of the five instances, calls operations through its descriptor and destroys it. */
void c_host_visit_families(C_HOST_FAMILY_S astFamilies[C_HOST_FAMILIES]);

/* What became of one NLRI that was parsed, formatted back and compared. */
typedef struct {
    uint32_t uiParsed; /* return codes */
    uint32_t uiFormatted;
    uint32_t uiRead; /* octets by which the cursors moved */
    uint32_t uiWritten;
    uint32_t uiMore;
    uint32_t uiValidMask;
    uint32_t uiKeyType;
    uint32_t uiSourceAs;
    uint32_t uiSource;
    uint32_t uiGroup;
    uint32_t uiRdType;
    uint32_t uiRdAsn;
    uint32_t uiRdAssigned;
    int32_t iCmpRd; /* the route with a second parse of the same octets */
    int32_t iCmpKey;
    int32_t iCmpNonKey;
    uint8_t aucOut[64];
} C_HOST_TRIP_S;

/* One route of the NG-MVPN family through MP_REACH_NLRI, there and back. */
void c_host_round_trip(const uint8_t *pucNlri, uint32_t uiLen, C_HOST_TRIP_S *pstTrip);

/* First type code and row address check of a dispatch table, read by its own name. */
uint32_t c_host_first_pkt_parse_type(void);
uint32_t c_host_lookup_finds_the_table_row(void);

#ifdef __cplusplus
}
#endif

#endif
