// The VPNv4 multicast family from any octets. The first octet of an input picks the door: path attributes, messages,
// writers, texts, the walk over cross values, the match buffer and the outgoing list, the actions, the compares, and
// last what stands in no descriptor or in this family's alone.
#include "mdt_vpnv4mcast_door.h"

#include "platform/zvk.h"
#include "vpnv4mcast/qel_vpnv4mcast.h"

#include <map>

namespace {

// Every block on the way to the library and back: a delete keeps its scratch, and only who saw it made can give it
// back.
std::map<void *, std::uint32_t> &live_blocks()
{
    static std::map<void *, std::uint32_t> blocks;
    return blocks;
}

} // namespace

// The linker puts these in front of the platform's own.
extern "C" {
void *__real_ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *pszFile, uint32_t uiLine);
void __real_ZVK_Free_F(void *pvMem, const char *pszFile, uint32_t uiLine);
void *__wrap_ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *pszFile, uint32_t uiLine);
void __wrap_ZVK_Free_F(void *pvMem, const char *pszFile, uint32_t uiLine);

void *__wrap_ZVK_SimpleAlloc_F(uint32_t uiMemHandle, uint32_t uiSize, const char *pszFile, uint32_t uiLine)
{
    void *block = __real_ZVK_SimpleAlloc_F(uiMemHandle, uiSize, pszFile, uiLine);
    if (block != nullptr) {
        live_blocks().emplace(block, uiSize);
    }
    return block;
}

void __wrap_ZVK_Free_F(void *pvMem, const char *pszFile, uint32_t uiLine)
{
    qel::fuzz::require(pvMem == nullptr || live_blocks().erase(pvMem) == 1, "only what was allocated is freed");
    __real_ZVK_Free_F(pvMem, pszFile, uiLine);
}
}

namespace qel::fuzz {
namespace {

const host::Family &vpnv4_family()
{
    static const host::FamilyInfo info{
        host::FamilyKind::vpnv4_mcast, 1, 129, "vpnv4-mcast", "VPNv4 multicast", QEL_VPNV4MCAST_Construct,
        QEL_VPNV4MCAST_Destruct};
    static const host::Family family(info, kMemHandle);
    return family;
}

void take_kept_back(const void *result, std::size_t size)
{
    void *kept = nullptr;
    for (const auto &[block, block_size] : live_blocks()) {
        if (block != vpnv4_family().ctx() && block != result) {
            require(kept == nullptr && block_size == size, "the kept block is as long as the list, and alone");
            kept = block;
        }
    }
    require(kept != nullptr, "a delete keeps its scratch");
    ZVK_Free_F(kept, __FILE__, __LINE__);
}

void run_own(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint32_t by = fields.u16();
    const Record record = record_of(fields, fields.u8());
    const HeldRecord held(record, false);
    std::uint32_t type = 0;
    require(stage.desc().pfGetRouteType(&held.info(), &type) == QEL_OK && type == 10, "one type for every route");
    std::uint32_t count = 5;
    const std::uint32_t code = stage.desc().pfSetRtCount(&held.info(), &count, 1, by & 1, by);
    require(code == (record.key ? QEL_OK : QEL_ERR_ARGUMENT), "a counter for routes with a key");
    require(count == (!record.key ? 5 : (by & 1) != 0 ? 5 + by : 5 - by), "the counter goes up or down");
    std::uint32_t told = 0;
    require(stage.desc().pfGetRtCount(&count, 1, by, &told) == QEL_OK && told == count, "the counter itself");
    std::uint32_t kind = 0;
    std::uint32_t labels = 0;
    std::uint32_t third = 9;
    const Effect effect;
    require(stage.desc().pfGetLabelType(&held.info(), &kind, &labels, &third) == QEL_OK && kind == 3 && labels == 1 &&
                third == 0 && effect.asserts() == 0,
            "one kind of label for every route");
    // A record twice: the second label is that of the first call, shifted again.
    HeldRecord again(record, true);
    for (std::uint32_t label = record.label; record.key && record.label_length != 0 && label != 0;) {
        Record shifted = record;
        shifted.label = label;
        const WriteModel model(Member::vpnv4, shifted, 24, kFill);
        Memory memory(kNever);
        const Written expected = model.judge(Writer::route, 0, memory);
        Room room(24);
        std::uint8_t *cursor = room.out.data();
        require(stage.desc().pfFormatPkt(&again.info(), 14, &cursor, 24, stage.ctx()) == expected.code,
                "a route that is written again");
        room.check(expected.octets);
        if (expected.code != QEL_OK) {
            break;
        }
        label <<= 4;
        require(again.info().uiMplsLabel == label, "each time sixteen times the label");
    }
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace qel::fuzz;
    static constexpr DirectDoors direct{QEL_VPNV4MCAST_ApplyExtCommunity, QEL_VPNV4MCAST_CmpExtCommunity,
                                        take_kept_back};
    run_doors<1>({Member::vpnv4, vpnv4_family(), direct}, {run_own}, {data, size});
    return 0;
}
