// The MDT family from any octets. The first octet of an input picks the door: path attributes, messages, writers,
// texts, the walk over cross values, the match buffer and the outgoing list, the actions, the compares, and last what
// stands in no descriptor.
#include "mdt_vpnv4mcast_door.h"

#include "mdt/qel_mdt.h"

namespace qel::fuzz {
namespace {

const host::Family &mdt_family()
{
    static const host::FamilyInfo info{host::FamilyKind::mdt, 1, 66, "mdt", "MDT", QEL_MDT_Construct, QEL_MDT_Destruct};
    static const host::Family family(info, kMemHandle);
    return family;
}

void take_nothing_back(const void *, std::size_t)
{
    require(false, "this family keeps nothing");
}

void check_group_text(const Record &record, std::size_t room_size)
{
    const HeldRecord held(record, true);
    Room room(room_size);
    std::uint8_t *cursor = room.out.data();
    std::uint32_t index = 7;
    std::uint32_t more = kUnwritten;
    const Effect effect;
    const std::uint32_t code = QEL_MDT_FormatCfgGrpAddr(&held.info(), &cursor, room.out.size(), &index, &more);
    const bool done = record.key && room_size != 0;
    require(code == (!record.key ? QEL_ERR_ABSENT : done ? QEL_OK : QEL_ERR_FAILED), "the code of a group's text");
    require(effect.asserts() == (record.key && !done ? 1U : 0U), "no room at all is reported");
    Bytes expected;
    if (done) {
        std::string text = "MDT group address: " + ip_text(record.second());
        text.resize(std::min(text.size(), room_size - 1));
        expected = closed(text);
    }
    room.check(expected);
    require(cursor == room.out.data() && index == (done ? 0U : 7U) && more == (done ? 0U : kUnwritten),
            "a text moves no cursor");
}

// A source as the match on a group has it.
void check_source(const Record &record, std::size_t room_size)
{
    const HeldRecord held(record, true);
    Room room(room_size);
    std::uint8_t *cursor = room.out.data();
    auto remain = static_cast<std::uint32_t>(room_size);
    const Effect effect;
    const std::uint32_t code = QEL_MDT_ConstructMatchIpSource(&held.info(), &cursor, &remain, mdt_family().ctx());
    const bool done = record.key && room_size >= 8;
    require(code == (!record.key ? QEL_ERR_ABSENT
                     : done      ? QEL_OK
                                 : QEL_ERR_SPACE) &&
                effect.asserts() == 0,
            "the code of a source");
    Bytes expected;
    if (done) {
        expected = {0, 33, 0, 4};
        put_big(expected, record.first(), 4);
    }
    room.check(expected);
    require(cursor == room.out.data() + expected.size() && remain == room_size - expected.size(),
            "the room behind a source");
}

void run_own(Stage stage, Fields fields)
{
    set_stage(stage, fields);
    const std::uint32_t by = fields.u16();
    const Record record = record_of(fields, fields.u8());
    for (std::size_t room = 0; room < 40; ++room) {
        check_group_text(record, room);
        check_source(record, room % 12);
    }
    check_group_text(record, 600);
    const HeldRecord held(record, false);
    std::uint32_t type = 0;
    require(stage.desc().pfGetRouteType(&held.info(), &type) == QEL_OK && type == 11, "one type for every route");
    std::uint32_t count = 5;
    const std::uint32_t code = stage.desc().pfSetRtCount(&held.info(), &count, 1, by & 1, by);
    require(code == (record.key ? QEL_OK : QEL_ERR_ARGUMENT), "a counter for routes with a key");
    std::uint32_t told = 0;
    require(stage.desc().pfGetRtCount(&count, 1, by, &told) == QEL_OK && told == count, "the counter itself");
    require(count == (!record.key ? 5 : (by & 1) != 0 ? 5 + by : 5 - by), "the counter goes up or down");
}

} // namespace
} // namespace qel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace qel::fuzz;
    static constexpr DirectDoors direct{QEL_MDT_ApplyExtCommunity, QEL_MDT_CmpExtCommunity, take_nothing_back};
    run_doors<1>({Member::mdt, mdt_family(), direct}, {run_own}, {data, size});
    return 0;
}
