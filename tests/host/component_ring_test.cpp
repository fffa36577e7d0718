// Routes on their way around the components: what each of them makes of a message, octet by octet.
#include "host/component_ring.h"
#include "host/decode.h"
#include "host/relay.h"
#include "ngmvpn/qel_ngmvpn_records.h"

#include "decode_session.h"
#include "table_cases.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <tuple>

namespace {

using namespace qel;
using namespace qel::host;
using namespace qel::test;
using testing::ElementsAre;
using testing::IsEmpty;

using TypeCode = std::pair<Carrier, std::uint32_t>;

struct Seen {
    std::string way; // "mvpn > mvrf"
    TypeCode type;
    Bytes octets;
    std::uint32_t code = 0;
    bool read = false;
};

class Log final : public DeliverySink {
public:
    void delivered(const Delivery &delivery) override
    {
        seen.push_back({std::string(delivery.from) + " > " + std::string(delivery.to),
                        {delivery.carrier, delivery.type},
                        octets_of(delivery.octets),
                        delivery.code,
                        delivery.read != nullptr});
    }

    // The octets of the messages of one type on one way.
    std::vector<std::string> octets(std::string_view way, Carrier carrier, std::uint32_t type) const
    {
        std::vector<std::string> out;
        for (const Seen &each : seen) {
            if (each.way == way && each.type == TypeCode(carrier, type)) {
                out.push_back(hex(each.octets));
            }
        }
        return out;
    }

    std::set<TypeCode> types(std::string_view way) const
    {
        std::set<TypeCode> out;
        for (const Seen &each : seen) {
            if (each.way == way) {
                out.insert(each.type);
            }
        }
        return out;
    }

    std::vector<Seen> seen;
};

Bytes section(const std::uint8_t *data, std::uint32_t length)
{
    return data != nullptr ? Bytes(data, data + length) : Bytes();
}

Bytes key_with(const QEL_ROUTE_INFO_S &route, std::uint8_t rd_kind)
{
    Bytes out = section(route.pucKey, route.uiKeyLen);
    out.at(offsetof(QEL_NGMVPN_KEY_S, ucRdKind)) = rd_kind;
    return out;
}

struct Attributes {
    explicit Attributes(const QEL_ROUTE_INFO_S &route)
        : list{{"communities", section(route.pucExtComm, route.uiExtCommLen)},
               {"IPv6 communities", section(route.pucIpv6ExtComm, route.uiIpv6ExtCommLen)},
               {"tunnel", section(route.pucPmsi, route.uiPmsiLen)},
               {"Prefix-SID", section(route.pucPfxSid, route.uiPfxSidLen)},
               {"MSID", section(route.pucMsid, route.uiMsidLen)}}
    {
    }
    bool operator==(const Attributes &) const = default;

    std::map<std::string, Bytes> list;
};

std::ostream &operator<<(std::ostream &out, const Attributes &attributes)
{
    for (const auto &[name, octets] : attributes.list) {
        out << name << ' ' << hex(octets) << '\n';
    }
    return out;
}

QEL_NGMVPN_NONKEY_S non_key_of(const QEL_ROUTE_INFO_S &route)
{
    QEL_NGMVPN_NONKEY_S out{};
    EXPECT_EQ(route.uiNonKeyLen, sizeof(out));
    std::memcpy(&out, route.pucNonKey, sizeof(out));
    return out;
}

Bytes octets_of_record(const QEL_NGMVPN_NONKEY_S &record)
{
    const auto *start = reinterpret_cast<const std::uint8_t *>(&record);
    return {start, start + sizeof(record)};
}

// What of the attributes other components can read. A tunnel whose root has sixteen octets is none of it: the record
// has room for four, and so has what is written of it.
Attributes readable(const QEL_ROUTE_INFO_S &sent)
{
    Attributes out(sent);
    const std::optional<QEL_NGMVPN_PMSI_TNL_S> tunnel = pmsi_tunnel(sent);
    if (tunnel && tunnel->ucTnlType == QEL_NGMVPN_TNL_MLDP_P2MP && tunnel->uTnl.stMldp.ucAddrLen == 16) {
        out.list["tunnel"].clear();
    }
    return out;
}

// Nothing changes but where the receiver files the RD.
void expect_same(const QEL_ROUTE_INFO_S &sent, const Route &arrived, std::uint8_t rd_kind, const char *where)
{
    SCOPED_TRACE(where);
    const QEL_ROUTE_INFO_S &route = arrived.info();
    EXPECT_EQ(hex(section(route.pucKey, route.uiKeyLen)), hex(key_with(sent, rd_kind)));
    EXPECT_EQ(hex(section(route.pucRd, route.uiRdLen)), hex(section(sent.pucRd, sent.uiRdLen)));
    EXPECT_EQ(hex(section(route.pucNonKey, route.uiNonKeyLen)), hex(section(sent.pucNonKey, sent.uiNonKeyLen)));
    EXPECT_EQ(Attributes(route), readable(sent));
    EXPECT_EQ(route.uiValidMask, sent.uiValidMask);
}

// The non-key after a next hop has joined it: of what was there the key type and the embedded key stay, the RD goes;
// the length of the address is not taken along.
QEL_NGMVPN_NONKEY_S joined(const QEL_ROUTE_INFO_S &sent, const McPath &path)
{
    const QEL_NGMVPN_NONKEY_S before = non_key_of(sent);
    if (path.next_hop.size() != 4 && path.next_hop.size() != 16) {
        return before;
    }
    QEL_NGMVPN_NONKEY_S out{};
    out.usFlags = static_cast<std::uint16_t>((before.usFlags & 0x5) | 0x2);
    out.uiKeyType = before.uiKeyType;
    std::memcpy(out.aucEmbeddedKey, before.aucEmbeddedKey, sizeof(out.aucEmbeddedKey));
    std::uint32_t words[4]{};
    for (std::size_t i = 0; i < path.next_hop.size() / 4; ++i) {
        const std::uint8_t *at = path.next_hop.data() + 4 * i;
        words[i] = static_cast<std::uint32_t>(at[0] << 24 | at[1] << 16 | at[2] << 8 | at[3]);
    }
    std::memcpy(&out.stUserAddr, words, sizeof(words));
    out.uiUserValue = path.user_value;
    return out;
}

// By the route path an MSID is rebuilt from its fields: unknown TLVs behind it stay behind.
Attributes by_path(const QEL_ROUTE_INFO_S &sent)
{
    Attributes out = readable(sent);
    Bytes &msid = out.list["MSID"];
    if (!msid.empty()) {
        const bool has_structure = msid[2] != 0;
        Bytes wire = bytes(has_structure ? "01001900" : "01001100");
        for (std::size_t word = 4; word < 20; word += 4) {
            wire.insert(wire.end(), {msid[word + 3], msid[word + 2], msid[word + 1], msid[word]});
        }
        if (has_structure) {
            wire.insert(wire.end(), {1, 0, 5, 0, msid[0], msid[1], 0, 0});
        }
        msid.resize(20);
        msid.insert(msid.end(), wire.begin(), wire.end());
    }
    return out;
}

void expect_from_mc(const QEL_ROUTE_INFO_S &sent, const ComponentRing::Stations &stations, const McPath &path)
{
    const std::uint8_t type = ng_mvpn_route(sent).value().type;
    const QEL_ROUTE_INFO_S &mvrf = stations.mvrf_from_mc.info();
    EXPECT_EQ(hex(section(mvrf.pucKey, mvrf.uiKeyLen)), hex(key_with(sent, type <= 3 ? 1 : 2)));
    EXPECT_EQ(hex(section(mvrf.pucRd, mvrf.uiRdLen)), hex(section(sent.pucRd, sent.uiRdLen)));
    EXPECT_EQ(Attributes(mvrf), by_path(sent));
    QEL_NGMVPN_NONKEY_S expected = joined(sent, path);
    EXPECT_EQ(hex(section(mvrf.pucNonKey, mvrf.uiNonKeyLen)), hex(octets_of_record(expected)));

    const QEL_ROUTE_INFO_S &mvpn = stations.mvpn_from_mvrf.info();
    EXPECT_EQ(hex(section(mvpn.pucKey, mvpn.uiKeyLen)), hex(key_with(sent, 2)));
    EXPECT_EQ(Attributes(mvpn), by_path(sent));
    // An address without a length travels in the long form.
    expected.usUserAddrLen = (expected.usFlags & 0x2) != 0 ? 16 : 0;
    EXPECT_EQ(hex(section(mvpn.pucNonKey, mvpn.uiNonKeyLen)), hex(octets_of_record(expected)));
}

// Takes the routes of a decoder around a ring of their family.
class RingSink final : public RouteSink {
public:
    void place(const Origin &, const MpAttribute &mp, std::size_t offset) override
    {
        const Octets rest = mp.nlri.subspan(offset - mp.nlri_offset);
        wire_ = octets_of(rest.first(2U + rest[1]));
        next_hop_ = octets_of(mp.next_hop);
    }
    void announce(const Family &family, StoredRoute route) override { pass(family, route.info(), Change::announce); }
    void withdraw(const Family &family, const StoredRoute &route) override
    {
        pass(family, route.info(), Change::withdraw);
    }

    void clear() { rings_.clear(); }

    std::map<Change, int> routes;
    std::map<std::string, std::set<TypeCode>> types;
    std::vector<std::tuple<std::string, TypeCode, std::uint32_t>> refused;
    // Each route takes this way too, with its attributes.
    std::optional<Change> also;

private:
    void pass(const Family &family, const QEL_ROUTE_INFO_S &route, Change change)
    {
        SCOPED_TRACE(hex(wire_));
        ++routes[change];
        check(family, route, change);
        if (also) {
            check(family, route, *also);
        }
    }

    void check(const Family &family, const QEL_ROUTE_INFO_S &route, Change change)
    {
        auto &ring = rings_[&family.info()];
        if (ring == nullptr) {
            ring = std::make_unique<ComponentRing>(family.info(), kMemHandle, log_);
        }
        log_.seen.clear();
        const McPath path{Octets(next_hop_).first(std::min<std::size_t>(next_hop_.size(), 16)), 7};
        const ComponentRing::Stations stations = ring->pass(route, change, path);
        for (const Seen &each : log_.seen) {
            if (each.code != 0) {
                refused.emplace_back(each.way, each.type, each.code);
            }
            types[each.way].insert(each.type);
        }
        const bool withdrawn = change == Change::withdraw;
        const std::vector<std::string> bare{hex(wire_)};
        EXPECT_EQ(log_.octets("mvpn > mvrf", Carrier::message, withdrawn ? 61 : 59), bare);
        EXPECT_EQ(log_.octets("mvrf > mvpn", Carrier::message, withdrawn ? 55 : 53), bare);
        if (!withdrawn) {
            expect_same(route, stations.mvpn_backup, 2, "mvpn-backup");
            expect_same(route, stations.mvrf, 1, "mvrf");
            expect_same(stations.mvrf.info(), stations.mvrf_backup, 1, "mvrf-backup");
            expect_from_mc(route, stations, path);
        } else {
            EXPECT_EQ(key_with(stations.mvrf_backup.info(), 1), key_with(route, 1));
            EXPECT_EQ(Attributes(stations.mvrf.info()), Attributes(QEL_ROUTE_INFO_S{}));
        }
    }

    Log log_;
    std::map<const FamilyInfo *, std::unique_ptr<ComponentRing>> rings_;
    Bytes wire_;
    Bytes next_hop_;
};

class ComponentRingTest : public testing::Test {
protected:
    ComponentRingTest() : asserts_(platform::assert_count()) {}
    ~ComponentRingTest() override { EXPECT_EQ(platform::assert_count(), asserts_ + expected_asserts_); }

    // Everything of a sample around the ring.
    void pass_sample(const std::string &name, RingSink &sink)
    {
        DecodeOptions options;
        options.routes = &sink;
        Session session(std::move(options));
        ASSERT_TRUE(read_input(QEL_SAMPLES_DIR "/" + name, *session.decoder));
        sink.clear();
        EXPECT_EQ(session.finish().blocks_leaked, 0U);
    }

    std::uint64_t expected_asserts_ = 0;

private:
    LeakCheck leaks_;
    std::uint64_t asserts_;
};

TEST_F(ComponentRingTest, EveryRouteOfTheSamplesArrivesAndChangesInItsRdKindAlone)
{
    const std::pair<const char *, int> samples[] = {
        {"ngmvpn.pcap", 251}, {"ngmvpn.pcapng", 304}, {"attributes.pcap", 49}};
    for (const auto &[name, count] : samples) {
        SCOPED_TRACE(name);
        RingSink sink;
        pass_sample(name, sink);
        EXPECT_EQ(sink.routes[Change::announce] + sink.routes[Change::withdraw], count);
        if (std::string(name) == "attributes.pcap") {
            // An IPv6 community of type 0x0202 gives a cross value like a route target, and is none to the reader.
            const auto refusal = [](const char *way, Carrier carrier, std::uint32_t type, std::uint32_t code) {
                return std::tuple(std::string(way), TypeCode(carrier, type), code);
            };
            EXPECT_THAT(sink.refused, ElementsAre(refusal("mvpn > mvpn-backup", Carrier::ha, 6, 0x80001),
                                                  refusal("mvrf > mvrf-backup", Carrier::ha, 6, 0x80001),
                                                  refusal("mvrf > mvpn", Carrier::message, 56, 0x80001),
                                                  refusal("mc > mvrf", Carrier::message, 19, 0x80001),
                                                  refusal("mvpn > mvpn-backup", Carrier::attribute, 25, 0x3000b),
                                                  refusal("mvpn > mvrf", Carrier::attribute, 25, 0x3000b)));
        } else {
            EXPECT_THAT(sink.refused, IsEmpty());
        }
    }
}

TEST_F(ComponentRingTest, EachWayHasItsOwnTypeCodes)
{
    RingSink sink;
    sink.also = Change::withdraw;
    pass_sample("ngmvpn.pcapng", sink);
    pass_sample("ngmvpn.pcap", sink);
    pass_sample("attributes.pcap", sink);
    const auto codes = [](std::initializer_list<std::uint32_t> messages,
                          std::initializer_list<std::uint32_t> attributes, Carrier carrier = Carrier::message) {
        std::set<TypeCode> out;
        for (const std::uint32_t type : messages) {
            out.emplace(carrier, type);
        }
        for (const std::uint32_t type : attributes) {
            out.emplace(Carrier::attribute, type);
        }
        return out;
    };
    EXPECT_EQ(sink.types["mvpn > mvrf"], codes({59, 61}, {11, 25, 34, 43, 50, 59}));
    EXPECT_EQ(sink.types["mvrf > mvpn"], codes({53, 55, 56, 57}, {21, 25, 34, 43, 51, 59}));
    EXPECT_EQ(sink.types["mvrf > mc"], codes({5, 6, 56, 57}, {11, 50}));
    EXPECT_EQ(sink.types["mc > mvrf"], codes({15, 16, 18, 19, 20, 157}, {}));
    EXPECT_EQ(sink.types["mvpn > mvpn-backup"], codes({1, 3, 6, 7}, {11, 25, 34, 43, 50, 59}, Carrier::ha));
    EXPECT_EQ(sink.types["mvrf > mvrf-backup"], codes({1, 3, 6, 7, 10}, {11, 25, 34, 43, 50, 59}, Carrier::ha));
}

// A route as the core has it, and a ring with its log.
struct OneRoute {
    explicit OneRoute(const Bytes &nlri) : core(ng_mvpn()), route(block_of(core, 14, nlri))
    {
        route.add(block_of(core, 16, bytes("0002006400000001 0102c00002010007")));
    }

    ComponentRing::Stations pass(Change change, const McPath &path = {})
    {
        return ring.pass(route.info(), change, path);
    }

    Family core;
    Log log;
    ComponentRing ring{*find_family(1, 5), kMemHandle, log};
    Route route;
};

TEST_F(ComponentRingTest, TheSameRouteGoesInTheSameOctetsBothWays)
{
    OneRoute one(intra(7, 1));
    one.pass(Change::announce);
    EXPECT_THAT(one.log.octets("mvpn > mvrf", Carrier::message, 59), ElementsAre("010c0000006400000007c0000201"));
    EXPECT_THAT(one.log.octets("mvrf > mvpn", Carrier::message, 53), ElementsAre("010c0000006400000007c0000201"));
    EXPECT_THAT(one.log.octets("mvrf > mc", Carrier::message, 5), ElementsAre("000b000e010c0000006400000007c0000201"));
    EXPECT_THAT(one.log.octets("mc > mvrf", Carrier::message, 15), ElementsAre("000b000e010c0000006400000007c0000201"));
    EXPECT_THAT(one.log.octets("mvpn > mvpn-backup", Carrier::ha, 1),
                ElementsAre("0015000402000000000b000e010c0000006400000007c0000201"));
    EXPECT_THAT(one.log.octets("mvrf > mvrf-backup", Carrier::ha, 1),
                ElementsAre("0015000401000000000b000e010c0000006400000007c0000201"));
}

TEST_F(ComponentRingTest, TheNextHopGoesAheadOfEachAttributeOfTheRoutePath)
{
    OneRoute one(intra(7, 1));
    one.route.add(block_of(one.core, 22, bytes("00 01 000000 00000005 0000 0006 c0000201")));
    const Bytes hop = bytes("0a0a0603");
    one.pass(Change::announce, {hop, 9});
    EXPECT_THAT(one.log.octets("mvrf > mc", Carrier::message, 6), ElementsAre("000c0011"
                                                                              "0001000000000000050000"
                                                                              "0006c0000201"));
    EXPECT_THAT(one.log.octets("mc > mvrf", Carrier::message, 16), ElementsAre("000e00080a0a060309000000"
                                                                               "000c00110001000000000000050000"
                                                                               "0006c0000201",
                                                                               "000e00080a0a060309000000"
                                                                               "000d00100002006400000001"
                                                                               "0102c00002010007"));
}

TEST_F(ComponentRingTest, AWithdrawnRouteGoesWithoutAttributes)
{
    OneRoute one(intra(7, 1));
    const ComponentRing::Stations stations = one.pass(Change::withdraw, {bytes("0a0a0603"), 9});
    EXPECT_TRUE(has_key(stations.mvpn_from_mvrf));
    EXPECT_EQ(stations.mvpn_from_mvrf.info().pucExtComm, nullptr);
    for (const Seen &each : one.log.seen) {
        EXPECT_NE(each.type.first, Carrier::attribute) << each.way;
    }
    EXPECT_THAT(one.log.octets("mc > mvrf", Carrier::message, 16), IsEmpty());
    EXPECT_THAT(one.log.octets("mvrf > mvpn", Carrier::message, 55), ElementsAre("010c0000006400000007c0000201"));
}

TEST_F(ComponentRingTest, ABackupIsTold5AgainAnd8ForTheGlobalTable)
{
    OneRoute one(intra(7, 1));
    const Route again = one.ring.mirror(Component::mvpn).tell(one.route.info(), Change::refresh);
    expect_same(one.route.info(), again, 2, "refresh");
    EXPECT_EQ(
        one.log.types("mvpn > mvpn-backup"),
        (std::set<TypeCode>{{Carrier::ha, 5}, {Carrier::ha, 6}, {Carrier::attribute, 11}, {Carrier::attribute, 34}}));

    OneRoute global(bytes("010c 0000000000000000 c0000201"));
    expect_same(global.route.info(), global.ring.mirror(Component::mvrf).tell(global.route.info(), Change::announce), 2,
                "global, as sent");
    EXPECT_THAT(global.log.octets("mvrf > mvrf-backup", Carrier::ha, 8),
                ElementsAre("0015000402000000000b000e010c0000000000000000c0000201"));
}

// With a tunnel in its replaced half; the reader asks for one.
TEST_F(ComponentRingTest, AnImportAttributeTravelsBesideItsRoute)
{
    OneRoute one(intra(7, 1));
    one.route.add(block_of(one.core, 22, bytes("00 01 000000 00000005 0000 0006 c0000201")));
    QEL_ROUTE_INFO_S route = one.route.info();
    const Bytes tunnel = section(route.pucPmsi, route.uiPmsiLen);
    QEL_NGMVPN_IMPORT_ATTR_S fixed{};
    std::memcpy(&fixed.stKey, route.pucKey, sizeof(fixed.stKey));
    fixed.uiPolicyId = 5;
    fixed.stReplacedAttr.uiAttrFlag = QEL_NGMVPN_SEG_PMSI;
    fixed.stReplacedAttr.usPmsiLen = static_cast<std::uint16_t>(tunnel.size());
    Bytes record(QEL_NGMVPN_IMPORT_ATTR_FIXED_LEN);
    std::memcpy(record.data(), &fixed, record.size());
    record.insert(record.end(), tunnel.begin(), tunnel.end());
    route.pstImportAttr = reinterpret_cast<const QEL_NGMVPN_IMPORT_ATTR_S *>(record.data());
    route.uiImportAttrLen = static_cast<std::uint32_t>(record.size());

    const Route arrived = one.ring.mirror(Component::mvrf).tell(route, Change::announce);
    EXPECT_EQ(one.log.octets("mvrf > mvrf-backup", Carrier::attribute, 40).size(), 1U);
    const auto *held = reinterpret_cast<const std::uint8_t *>(arrived.info().pstImportAttr);
    ASSERT_NE(held, nullptr);
    const Bytes got = section(held, arrived.info().uiImportAttrLen);
    ASSERT_EQ(got.size(), record.size());
    EXPECT_EQ(hex(Octets(got).subspan(104)), hex(Octets(record).subspan(104))) << "all behind the key";
}

// The private targets of a Leaf A-D route stay with the component that has made them; a short one does not.
TEST_F(ComponentRingTest, PrivateTargetsHaveTypeCodesOfTheirOwn)
{
    OneRoute one(bytes("0412 010c0000006400000007c0000201 c0000209") /* answers an I-PMSI A-D */);
    ASSERT_TRUE(has_key(one.route));
    one.ring.mirror(Component::mvrf).tell(one.route.info(), Change::announce);
    one.ring.mirror(Component::mvrf).tell(one.route.info(), Change::withdraw);
    const std::string way = "mvrf > mvrf-backup";
    const std::vector<std::string> announced = one.log.octets(way, Carrier::ha, 10);
    ASSERT_EQ(announced.size(), 2U) << "one for each route target";
    EXPECT_EQ(announced[0], "03"
                            "0000006400000007"
                            "c0000201"
                            "0002006400000001");
    EXPECT_EQ(one.log.octets(way, Carrier::ha, 11), announced);
    for (const Seen &each : one.log.seen) {
        EXPECT_EQ(each.code, 0U);
        EXPECT_TRUE(each.read);
    }
}

TEST_F(ComponentRingTest, ImportTargetsOfTheMulticastComponentAreRead)
{
    Log log;
    const Family mvrf = ng_mvpn(Component::mvrf);
    const Port from{"mc"};
    const Port to{"mvrf", &mvrf};
    Courier courier(log);
    const auto cross = [&](std::uint32_t type, const Bytes &octets) {
        const Route route(Channel(from, to, courier).read(Carrier::message, type, octets));
        return hex(section(route.info().pucCross, route.info().uiCrossLen));
    };
    for (const std::uint32_t type : {18U, 19U, 20U, 21U, 56U, 57U}) {
        EXPECT_EQ(cross(type, bytes("ffffffff")), "ffffffff");
        EXPECT_EQ(cross(type, bytes("0002006400000001")), "0200640001000000");
    }
    for (const std::uint32_t type : {157U, 158U}) {
        EXPECT_EQ(cross(type, Bytes(20, 9)), "01" + hex(Bytes(20, 9)));
        EXPECT_EQ(cross(type, Bytes(54, 9)), "00" + hex(Bytes(54, 9)));
        EXPECT_EQ(cross(type, Bytes(21, 9)), hex(Bytes(21, 9)));
    }
}

TEST_F(ComponentRingTest, ATypeThatNobodyListsIsNotSent)
{
    OneRoute one(intra(7, 1));
    const Family other = ng_mvpn(Component::mvrf);
    const Port from{"a", &one.core};
    const Port to{"b", &other};
    Courier courier(one.log);
    const Channel channel(from, to, courier);
    EXPECT_EQ(channel.send(Carrier::message, 99, one.route.info()), nullptr);
    EXPECT_EQ(channel.send(Carrier::ha, 59, one.route.info()), nullptr);
    EXPECT_EQ(channel.read(Carrier::message, 99, {}), nullptr);
    EXPECT_THAT(one.log.seen, IsEmpty());
}

TEST_F(ComponentRingTest, WhatTheReaderRefusesIsToldWithItsCode)
{
    Log log;
    const Family mvrf = ng_mvpn(Component::mvrf);
    const Port from{"mc"};
    const Port to{"mvrf", &mvrf};
    Courier courier(log);
    const Bytes wrong_tlv = bytes("000c000e010c0000006400000007c0000201");
    EXPECT_EQ(Channel(from, to, courier).read(Carrier::message, 15, wrong_tlv), nullptr);
    expected_asserts_ = 1;
    ASSERT_EQ(log.seen.size(), 1U);
    EXPECT_EQ(log.seen[0].code, 0x60001U);
    EXPECT_EQ(log.seen[0].octets, wrong_tlv);
    EXPECT_FALSE(log.seen[0].read);
}

// Whatever allocation fails: a message fails or does not come up, nothing half read stays, nothing leaks.
TEST_F(ComponentRingTest, EachAllocationFailsOnce)
{
    OneRoute one(spmsi(7, 1));
    one.route.add(block_of(one.core, 22, bytes("00 01 000000 00000005 0000 0006 c0000201")));
    const Bytes hop = bytes("0a0a0603");
    one.pass(Change::announce, {hop, 9});
    const std::size_t messages = one.log.seen.size();
    const std::uint64_t asserts = platform::assert_count();
    std::uint64_t failing = 0;
    for (;; ++failing) {
        one.log.seen.clear();
        const platform::FailAllocation fail(failing);
        const ComponentRing::Stations stations = one.pass(Change::announce, {hop, 9});
        if (!fail.fired()) {
            EXPECT_EQ(one.log.seen.size(), messages);
            break;
        }
        const bool told =
            std::any_of(one.log.seen.begin(), one.log.seen.end(), [](const Seen &each) { return each.code != 0; });
        const bool missing = Attributes(stations.mvpn_from_mvrf.info()) != Attributes(one.route.info());
        EXPECT_TRUE(told || missing) << "allocation " << failing;
    }
    EXPECT_GT(failing, 40U);
    expected_asserts_ = platform::assert_count() - asserts;
}

// Families differ in what their descriptor lists; the ring asks no more of them.
TEST_F(ComponentRingTest, AnMdtRouteGoesRoundBare)
{
    static constexpr FamilyInfo mdt{FamilyKind::mdt, 1, 66, "mdt", "MDT", QEL_MDT_Construct, QEL_MDT_Destruct};
    const Family core(mdt, kMemHandle);
    const std::string prefix = "0000006400000007"
                               "0a0a0603"
                               "ef010101";
    Route route(block_of(core, 14, bytes("80" + prefix)));
    ASSERT_TRUE(has_key(route));
    route.add(block_of(core, 16, bytes("0002006400000001")));
    Log log;
    ComponentRing ring(mdt, kMemHandle, log);
    const ComponentRing::Stations stations = ring.pass(route.info(), Change::announce, {bytes("0a0a0603"), 9});
    for (const Route *each : {&stations.mvpn_backup, &stations.mvrf, &stations.mvrf_backup, &stations.mvrf_from_mc,
                              &stations.mvpn_from_mvrf}) {
        EXPECT_EQ(hex(section(each->info().pucKey, each->info().uiKeyLen)),
                  hex(section(route.info().pucKey, route.info().uiKeyLen)));
    }
    for (const auto &[way, carrier, type] :
         std::vector<std::tuple<std::string, Carrier, std::uint32_t>>{{"mvpn > mvrf", Carrier::message, 59},
                                                                      {"mvpn > mvpn-backup", Carrier::ha, 1},
                                                                      {"mvrf > mvrf-backup", Carrier::ha, 1},
                                                                      {"mvrf > mc", Carrier::message, 5},
                                                                      {"mc > mvrf", Carrier::message, 15},
                                                                      {"mvrf > mvpn", Carrier::message, 53}}) {
        EXPECT_THAT(log.octets(way, carrier, type), ElementsAre(prefix)) << way;
    }
    EXPECT_EQ(log.types("mvpn > mvrf").count({Carrier::attribute, 11}), 1U);
    for (const Seen &each : log.seen) {
        EXPECT_EQ(each.code, 0U) << each.way << ' ' << each.type.second;
        EXPECT_NE(each.type, TypeCode(Carrier::message, 16));
    }
}

// --- the stand-in for the multicast component --------------------------------------------------------------------

struct Said {
    std::uint32_t type;
    std::string octets;
    bool operator==(const Said &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Said &said)
{
    return out << said.type << ' ' << said.octets;
}

std::vector<Said> answer(MulticastComponent &mc, Change change = Change::announce, const McPath &path = {})
{
    std::vector<Said> out;
    mc.answer(change, path, [&](std::uint32_t type, Octets octets) { out.push_back({type, hex(octets)}); });
    return out;
}

TEST(MulticastComponent, SendsBackWhatItHeard)
{
    MulticastComponent mc(FamilyKind::ng_mvpn);
    EXPECT_THAT(answer(mc), IsEmpty());
    mc.hear(Carrier::message, 5, bytes("000b0002 0102"));
    mc.hear(Carrier::message, 6, bytes("00180001 aa 00170002 bbbb"));
    mc.hear(Carrier::attribute, 50, bytes("cc"));
    mc.hear(Carrier::attribute, 25, bytes("dd")); // the path has it
    mc.hear(Carrier::message, 59, bytes("ee"));
    mc.hear(Carrier::message, 56, bytes("ffffffff"));
    mc.hear(Carrier::message, 57, bytes("0002006400000001"));
    mc.hear(Carrier::message, 56, Bytes(20, 1));
    mc.hear(Carrier::message, 56, Bytes(21, 3));
    mc.hear(Carrier::message, 56, {});
    const std::string long_target(40, '0');
    EXPECT_THAT(answer(mc), ElementsAre(Said{15, "000b00020102"}, Said{16, "00180001aa"}, Said{16, "00170002bbbb"},
                                        Said{16, "00160001cc"}, Said{18, "ffffffff"}, Said{18, "0002006400000001"},
                                        Said{19, hex(Bytes(20, 1))}, Said{157, hex(Bytes(21, 3))}));
    EXPECT_THAT(answer(mc, Change::withdraw),
                ElementsAre(Said{15, "000b00020102"}, Said{20, "ffffffff"}, Said{20, "0002006400000001"},
                            Said{21, hex(Bytes(20, 1))}, Said{158, hex(Bytes(21, 3))}));
    mc.reset();
    EXPECT_THAT(answer(mc), IsEmpty());
}

TEST(MulticastComponent, TellsANextHopOfEitherFamily)
{
    MulticastComponent mc(FamilyKind::ng_mvpn);
    mc.hear(Carrier::message, 5, bytes("000b0001 01"));
    const Bytes ipv4 = bytes("0a0a0603");
    const Bytes ipv6 = bytes("20010db8000000000000000000000001");
    const Bytes neither = bytes("0a0a06");
    EXPECT_THAT(answer(mc, Change::announce, {ipv4, 9}),
                ElementsAre(Said{15, "000b000101"}, Said{16, "000e00080a0a060309000000"}));
    EXPECT_THAT(
        answer(mc, Change::announce, {ipv6, 9}),
        ElementsAre(Said{15, "000b000101"}, Said{16, "000e0018000000000900000020010db8000000000000000000000001"}));
    EXPECT_THAT(answer(mc, Change::announce, {neither, 9}), ElementsAre(Said{15, "000b000101"}));
    mc.hear(Carrier::message, 6, bytes("00180001 aa"));
    EXPECT_THAT(answer(mc, Change::announce, {ipv4, 9}),
                ElementsAre(Said{15, "000b000101"}, Said{16, "000e00080a0a06030900000000180001aa"}));
}

TEST(MulticastComponent, OtherFamiliesGoBare)
{
    MulticastComponent mc(FamilyKind::mdt);
    mc.hear(Carrier::message, 5, bytes("000b0001 01"));
    EXPECT_THAT(answer(mc), ElementsAre(Said{15, "000b000101"}));
}

// --- buffers --------------------------------------------------------------------------------------------------------

TEST(MessageBuffer, CanBeReadBehindItsEnd)
{
    const MessageBuffer message(bytes("0102"));
    EXPECT_EQ(hex(message.octets()), "0102");
    for (std::size_t i = 0; i < QEL_MSG_READ_SLACK; ++i) {
        EXPECT_EQ(message.data()[message.size() + i], 0);
    }
    EXPECT_EQ(MessageBuffer({}).size(), 0U);
}

TEST(MessageWriter, BeginsWithZeros)
{
    MessageWriter writer;
    const auto fill = [](std::uint8_t **cursor, std::uint32_t room) {
        std::fill_n(*cursor, room, std::uint8_t{0xff});
        *cursor += 3;
        return std::uint32_t{QEL_OK};
    };
    const auto skip = [](std::uint8_t **cursor, std::uint32_t) {
        *cursor += 5;
        return std::uint32_t{QEL_OK};
    };
    const auto write3 = [](std::uint8_t **cursor, std::uint32_t) {
        std::fill_n(*cursor, 3, std::uint8_t{0xff});
        *cursor += 3;
        return std::uint32_t{QEL_OK};
    };
    EXPECT_EQ(writer.write(write3), 0U);
    EXPECT_EQ(hex(writer.written()), "ffffff");
    EXPECT_EQ(writer.write(skip), 0U);
    EXPECT_EQ(hex(writer.written()), "0000000000");
    EXPECT_EQ(writer.write([&](std::uint8_t **cursor, std::uint32_t room) { return fill(cursor, room) + 4; }), 4U);
    EXPECT_TRUE(writer.written().empty()) << "nothing of a failure";
    EXPECT_EQ(writer.write(skip), 0U);
    EXPECT_EQ(hex(writer.written()), "0000000000");
}

} // namespace
