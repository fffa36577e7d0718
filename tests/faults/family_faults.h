// A family with one route that has everything, and the doors of its descriptor as rows of the fault table.
#pragma once

#include "fault_rows.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace qel::test {

class FamilyFaults : public ::testing::Test {
protected:
    FamilyFaults(std::uint16_t afi, std::uint8_t safi) : family_(*host::find_family(afi, safi), kMemHandle) {}

    const QEL_FAMILY_DESC_S &desc() const { return family_.desc(); }
    QEL_FAMILY_CTX_S *ctx() const { return family_.ctx(); }
    const QEL_ROUTE_INFO_S &info() const { return route_.info(); }

    std::uint32_t parse_packet(std::uint32_t type, const Bytes &wire, Outputs &out) const
    {
        const ExactCopy copy(wire);
        const std::uint8_t *cursor = copy.data();
        return desc().pfParsePkt(&cursor, copy.size(), 0, type, &out.block, &out.more, ctx());
    }
    // Makes what an attribute holds part of the route.
    void take(std::uint32_t type, std::string_view wire)
    {
        Outputs out;
        ASSERT_EQ(parse_packet(type, bytes(wire), out), QEL_OK);
        route_.add(host::BlockPtr(std::exchange(out.block, &Outputs::untouched_block)));
    }

    FaultRow packet(std::string_view name, std::uint32_t type, std::string_view wire, std::string_view faults,
                    std::string_view lent) const
    {
        return {"parse " + std::string(name),
                [this, type, octets = bytes(wire)](Outputs &out) { return parse_packet(type, octets, out); }, faults,
                lent};
    }
    FaultRow attribute(std::uint32_t type, std::string_view faults = "", std::string_view lent = "") const
    {
        return {"write attribute " + std::to_string(type),
                [this, type](Outputs &out) {
                    QEL_ROUTE_INFO_S copy = info();
                    return desc().pfFormatPkt(&copy, type, &out.cursor, 1024, ctx());
                },
                faults, lent};
    }
    // A message, a backup message, an attribute message or a configuration record.
    FaultRow reader(QEL_PARSE_TLV_F door, std::uint32_t type, std::string_view value, std::string_view faults,
                    std::string_view lent) const
    {
        return {"read " + std::to_string(type),
                [this, door, type, octets = TrustedOctets(bytes(value))](Outputs &out) {
                    return door(octets.data(), octets.size(), type, &out.block, ctx());
                },
                faults, lent};
    }
    FaultRow adder(std::uint32_t type, std::string_view value, std::string_view faults, std::string_view lent) const
    {
        return {"add " + std::to_string(type),
                [this, type, octets = TrustedOctets(bytes(value))](Outputs &out) {
                    return desc().pfParseAddAttrMsg(&info(), octets.data(), octets.size(), type, &out.block, ctx());
                },
                faults, lent};
    }
    FaultRow writer(QEL_FORMAT_TLV_F door, std::uint32_t type, std::string_view faults = "",
                    std::string_view lent = "") const
    {
        return {"write " + std::to_string(type),
                [this, door, type](Outputs &out) { return door(&info(), type, &out.cursor, 1024, ctx()); }, faults,
                lent};
    }
    FaultRow config(std::uint32_t type) const
    {
        return {"configuration " + std::to_string(type), [this, type](Outputs &out) {
                    return desc().pfFormatCfg(&info(), type, &out.cursor, 1024, &out.index, &out.more);
                }};
    }
    FaultRow text(std::uint32_t type, std::string_view faults, std::string_view lent) const
    {
        return {"text " + std::to_string(type),
                [this, type](Outputs &out) {
                    char shown[512] = {};
                    const std::uint32_t code =
                        desc().pfData2Str(&info(), type, shown, sizeof(shown), &out.index, &out.more, ctx());
                    out.length = static_cast<std::uint32_t>(std::strlen(shown));
                    return code;
                },
                faults, lent};
    }
    FaultRow outgoing(std::uint32_t type, std::string_view faults, std::string_view lent) const
    {
        return {"outgoing attribute " + std::to_string(type),
                [this, type](Outputs &out) { return desc().pfSetAttr(&info(), type, 0, &out.block, ctx()); }, faults,
                lent};
    }
    FaultRow match(std::uint32_t mask, std::string_view faults) const
    {
        return {"match " + std::to_string(mask),
                [this, mask](Outputs &out) {
                    return desc().pfConstructMatch(&info(), mask, &out.octets, &out.length, ctx());
                },
                faults, faults};
    }
    FaultRow action(std::string_view name, std::uint32_t type, std::string_view value, std::string_view faults,
                    std::string_view lent) const
    {
        return {std::string(name),
                [this, type, octets = TrustedOctets(bytes(value))](Outputs &out) {
                    return desc().pfApplyAction(&info(), type, octets.data(), octets.size(), &out.block, ctx());
                },
                faults, lent};
    }
    FaultRow cross(std::string_view faults, std::uint32_t from = 0) const
    {
        return {"cross value from " + std::to_string(from),
                [this, from](Outputs &out) {
                    out.index = from;
                    return desc().pfGetCross(&info(), &out.octets, &out.length, &out.index, &out.more, ctx());
                },
                faults, faults};
    }
    FaultRow list_copy(std::string_view faults) const
    {
        return {"list copy",
                [this](Outputs &out) {
                    std::uint32_t count = 0;
                    const std::uint32_t code = desc().pfGetExtCommunity(&info(), &out.octets, &count, ctx());
                    out.length = count * static_cast<std::uint32_t>(sizeof(QEL_EXTCOMM_S));
                    return code;
                },
                faults, faults};
    }
    // What MDT and VPNv4 multicast have in common: routes of `wire` with those communities.
    std::vector<FaultRow> wire_rows(std::string_view wire, std::string_view communities) const
    {
        return {
            packet("route", 14, wire, "B", "B"),
            packet("withdrawal", 15, wire, "B", "B"),
            packet("communities", 16, communities, "BB", "BBB"),
            attribute(14),
            attribute(15),
            attribute(16, "3", "3"),
        };
    }
    std::vector<FaultRow> backup_rows(std::string_view prefix, std::string_view target) const
    {
        std::vector<FaultRow> rows;
        for (const std::uint32_t type : {1U, 3U, 5U, 8U}) {
            rows.push_back(reader(desc().pfParseHaMsg, type, prefix, "B", "B"));
            rows.push_back(writer(desc().pfFormatHaMsg, type));
        }
        for (const std::uint32_t type : {6U, 7U}) {
            rows.push_back(reader(desc().pfParseHaMsg, type, target, "B", "B"));
            rows.push_back(writer(desc().pfFormatHaMsg, type));
        }
        return rows;
    }
    std::vector<FaultRow> list_message_rows(std::string_view communities) const
    {
        std::vector<FaultRow> rows;
        for (const std::uint32_t type : {11U, 21U}) {
            rows.push_back(reader(desc().pfParseAttrMsg, type, communities, "B", "3B"));
            rows.push_back(writer(desc().pfFormatAttrMsg, type, "", "3"));
        }
        return rows;
    }
    std::vector<FaultRow> config_rows(std::string_view prefix) const
    {
        return {
            reader(desc().pfParseCfg, 1, "00000000 0000 6400 01000000 01 000000", "B", "B"),
            reader(desc().pfParseCfg, 2, prefix, "B", "B"),
            config(1),
            config(2),
            config(4),
            text(1, "", "3"),
            text(2, "", "3"),
        };
    }
    std::vector<FaultRow> policy_rows(std::string_view target) const
    {
        return {
            cross("z"),
            cross("z", 1),
            list_copy("3"),
            match(0x800, "3"),
            match(0x4, "3o"),
            outgoing(16, "3B", "3B"),
            action("add", 6, target, "33B", "333BB"),
            action("replace", 7, target, "3B", "33BB"),
        };
    }
    // The operations that never allocate.
    std::vector<FaultRow> without_memory() const
    {
        return {
            {"compare keys",
             [this](Outputs &) {
                 return static_cast<std::uint32_t>(
                     desc().pfCmpData(info().pucKey, info().uiKeyLen, info().pucKey, info().uiKeyLen, QEL_SECTION_KEY));
             }},
            {"prefix entry",
             [this](Outputs &) {
                 QEL_RTP_ENTRY_S entry{};
                 return desc().pfConstructRtpEntry(&info(), &entry);
             }},
            {"route type", [this](Outputs &out) { return desc().pfGetRouteType(&info(), &out.length); }},
            {"count a route",
             [this](Outputs &out) {
                 std::uint32_t counters[10] = {};
                 const std::uint32_t code = desc().pfSetRtCount(&info(), counters, 10, 1, 1);
                 return code != QEL_OK ? code : desc().pfGetRtCount(counters, 10, 3, &out.length);
             }},
        };
    }

    host::Family family_;
    host::Route route_;
};

inline std::vector<FaultRow> operator+(std::vector<FaultRow> rows, std::vector<FaultRow> more)
{
    std::move(more.begin(), more.end(), std::back_inserter(rows));
    return rows;
}

// `construct` without memory, and again with it.
inline void expect_construction_faults(Construct construct, Destruct destruct)
{
    const LeakCheck leaks;
    QEL_FAMILY_DESC_S desc{};
    desc.uiAddrFamily = 1;
    {
        const platform::FailAllocation failure(0);
        EXPECT_EQ(construct(&desc, kMemHandle), nullptr);
        EXPECT_TRUE(failure.fired());
    }
    QEL_FAMILY_CTX_S *ctx = construct(&desc, kMemHandle);
    ASSERT_NE(ctx, nullptr);
    destruct(ctx);
}

} // namespace qel::test
