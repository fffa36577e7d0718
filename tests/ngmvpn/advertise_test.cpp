// Whether a route may be advertised to a peer.
#include "segment_cases.h"

namespace qel::test {
namespace {

Bytes peer_record(std::uint32_t mode, std::uint8_t route_len, std::uint8_t peer_len)
{
    return le32(mode) + Bytes{route_len, peer_len, 0xee, 0xee};
}

QEL_PEER_S peer_of(std::uint8_t peer_len)
{
    return {.uiPeerMode = 0, .ucRouteAddrLen = 77, .ucPeerAddrLen = peer_len, .aucReserved = {9, 9}};
}

struct Verdict {
    std::uint32_t code = 0;
    std::uint32_t adv = kUnwritten;
    std::size_t asserts = 0;
};

Verdict ask(const QEL_ROUTE_INFO_S &route, std::uint32_t check_type = 2)
{
    const platform::Recorder recorder;
    Verdict got;
    got.code = QEL_NGMVPN_CheckRouteForAdv(&route, check_type, &got.adv);
    got.asserts = recorder.asserts().size();
    EXPECT_TRUE(recorder.debugs().empty());
    return got;
}

void expect_verdict(const Verdict &got, std::uint32_t adv, std::size_t asserts = 0)
{
    EXPECT_EQ(got.code, 0U);
    EXPECT_EQ(got.adv, adv);
    EXPECT_EQ(got.asserts, asserts);
}

Sections refused_route()
{
    return {.key = intra_key(rd_a(), o6()), .user_data = peer_record(0, 4, 4)};
}

TEST(Advertise, AnyOtherCheckTypePassesWithoutALookAtTheRoute)
{
    HostRoute route(refused_route());
    expect_verdict(ask(route.info), 0);
    for (const std::uint32_t type : {0U, 1U, 3U, 4U, 0x102U, 0x10002U, 0xffffffffU}) {
        expect_verdict(ask(route.info, type), 1);
    }
    route.info.pstUserData = nullptr;
    expect_verdict(ask(route.info, 3), 1);
}

TEST(Advertise, UserDataThatIsNoPeerRecordIsNotAdvertised)
{
    HostRoute route({.user_data = peer_record(0, 4, 4)});
    expect_verdict(ask(route.info), 1);
    for (const std::uint32_t kind : {0U, 1U, 3U, 5U, 0x104U}) {
        route.info.uiUserDataKind = kind;
        expect_verdict(ask(route.info), 0);
    }
    route.info.uiUserDataKind = 4;
    for (const std::uint32_t length : {0U, 7U, 9U, 0x108U, 0xffffffffU}) {
        route.info.uiUserDataLen = length;
        expect_verdict(ask(route.info), 0);
    }
    route.info.uiUserDataLen = 8;
    expect_verdict(ask(route.info), 1);
    route.info.pstUserData = nullptr;
    expect_verdict(ask(route.info), 0);
}

TEST(Advertise, APeerModeComparesTheTwoLengthsAlone)
{
    for (const std::uint32_t mode : {1U, 2U, 0x100U, 0x80000000U}) {
        for (const QEL_NGMVPN_KEY_S &key : {intra_key(rd_a(), o4()), intra_key(rd_a(), o6()), empty_key(9, rd_a())}) {
            for (const auto &[route_len, peer_len] : {std::pair{4, 4}, {4, 16}, {16, 4}, {16, 16}, {0, 0}, {7, 7}}) {
                const HostRoute route({.key = key,
                                       .user_data = peer_record(mode, static_cast<std::uint8_t>(route_len),
                                                                static_cast<std::uint8_t>(peer_len))});
                expect_verdict(ask(route.info), route_len == peer_len ? 1 : 0);
            }
        }
    }
}

TEST(Advertise, InPeerMode0TheRouteLengthSaysNothing)
{
    for (unsigned length = 0; length < 256; ++length) {
        const auto route_len = static_cast<std::uint8_t>(length);
        const HostRoute pass({.user_data = peer_record(0, route_len, 4)});
        expect_verdict(ask(pass.info), 1);
        const HostRoute stop({.user_data = peer_record(0, route_len, 16)});
        expect_verdict(ask(stop.info), 0);
    }
}

// Where the key of a type holds the length byte that counts.
struct AddrKey {
    std::uint32_t type;
    std::size_t at; // of the length that counts
};
constexpr AddrKey kAddrKeys[] = {{1, 8}, {3, 48}, {4, 32}, {5, 72}};

QEL_NGMVPN_KEY_S key_with(const AddrKey &of, std::uint8_t length, std::uint8_t others)
{
    auto key = zeroed<QEL_NGMVPN_KEY_S>();
    std::memset(&key, others, sizeof(key));
    key.uiKeyType = of.type;
    reinterpret_cast<std::uint8_t *>(&key)[of.at] = length;
    return key;
}

TEST(Advertise, ADiscoveryRouteNeedsAnAddressOfThePeersFamily)
{
    for (const AddrKey &of : kAddrKeys) {
        for (unsigned length = 0; length < 256; ++length) {
            for (const std::uint8_t others : std::initializer_list<std::uint8_t>{32, 128}) {
                const QEL_NGMVPN_KEY_S key = key_with(of, static_cast<std::uint8_t>(length), others);
                for (const std::uint8_t peer_len :
                     std::initializer_list<std::uint8_t>{4, 16, 0, 5}) { // any length but 4 is taken for IPv6
                    const HostRoute route({.key = key, .user_data = peer_record(0, 4, peer_len)});
                    expect_verdict(ask(route.info), length == (peer_len == 4 ? 32U : 128U) ? 1 : 0);
                }
            }
        }
    }
}

TEST(Advertise, InterIpmsiAndSourceActiveRoutesAndUnknownTypesPass)
{
    for (const std::uint32_t type : {0U, 2U, 6U, 9U, 0x101U, 0xffffffffU}) {
        for (const std::uint8_t peer_len : std::initializer_list<std::uint8_t>{4, 16, 0}) {
            const HostRoute route({.key = empty_key(type, rd_a()), .user_data = peer_record(0, 4, peer_len)});
            expect_verdict(ask(route.info), 1);
        }
    }
}

// kept: of the discovery routes; a C-multicast route needs 16
TEST(Advertise, ForADiscoveryRouteAnyPeerLengthBut4IsTakenForIpv6)
{
    for (unsigned peer_len = 0; peer_len < 256; ++peer_len) {
        const HostRoute with4({.user_data = peer_record(0, 4, static_cast<std::uint8_t>(peer_len))});
        expect_verdict(ask(with4.info), peer_len == 4 ? 1 : 0);
        const HostRoute with6(
            {.key = intra_key(rd_a(), o6()), .user_data = peer_record(0, 4, static_cast<std::uint8_t>(peer_len))});
        expect_verdict(ask(with6.info), peer_len == 4 ? 0 : 1);
    }
}

TEST(Advertise, OfALeafRouteTheLeafsAddressCountsNotTheOriginators)
{
    for (const std::uint32_t type : {4U, 5U}) {
        QEL_NGMVPN_KEY_S key = empty_key(type, rd_a());
        (type == 4 ? key.uKey.stIpmsiLeafAd.ucOrigAddrLen : key.uKey.stSpmsiLeafAd.ucOrigAddrLen) = 128;
        (type == 4 ? key.uKey.stIpmsiLeafAd.ucLeafAddrLen : key.uKey.stSpmsiLeafAd.ucLeafAddrLen) = 32;
        const HostRoute to4({.key = key, .user_data = peer_record(0, 4, 4)});
        expect_verdict(ask(to4.info), 1);
        const HostRoute to6({.key = key, .user_data = peer_record(0, 4, 16)});
        expect_verdict(ask(to6.info), 0);
    }
}

TEST(Advertise, OfASPmsiRouteTheOriginatorCountsNotSourceAndGroup)
{
    QEL_NGMVPN_KEY_S key = spmsi_key(rd_a(), 1, s4(), g4(), o6());
    const HostRoute to4({.key = key, .user_data = peer_record(0, 4, 4)});
    expect_verdict(ask(to4.info), 0);
    const HostRoute to6({.key = key, .user_data = peer_record(0, 4, 16)});
    expect_verdict(ask(to6.info), 1);
}

// kept: unlike the other tables, this one lets through what it does not know
TEST(Advertise, ATypeWithoutRowPasses)
{
    for (const std::uint32_t type : {0U, 9U, 0x101U, 0xffffffffU}) {
        const HostRoute route({.key = empty_key(type, rd_a()), .user_data = peer_record(0, 4, 4)});
        expect_verdict(ask(route.info), 1);
    }
}

TEST(Advertise, NullArgumentsAreRefusedWithOneReport)
{
    const HostRoute route(refused_route());
    Sections keyless = refused_route();
    keyless.key.reset();
    const HostRoute without_key(keyless);
    std::uint32_t adv = kUnwritten;
    for (const std::uint32_t type : {2U, 3U}) {
        expect_null_arguments_refused(3, [&](unsigned nulls) {
            const QEL_ROUTE_INFO_S &info = (nulls & 4) != 0 ? without_key.info : route.info;
            return QEL_NGMVPN_CheckRouteForAdv(unless((nulls & 1) != 0, &info), type, unless((nulls & 2) != 0, &adv));
        });
    }
    EXPECT_EQ(adv, kUnwritten);
}

TEST(Advertise, TheDescriptorReachesIt)
{
    const NgmvpnInstance instance(kMvpn4);
    const HostRoute route({.user_data = peer_record(0, 4, 4)});
    std::uint32_t adv = 0;
    EXPECT_EQ(instance.desc.pfCheckRouteForAdv(&route.info, 2, &adv), 0U);
    EXPECT_EQ(adv, 1U);
}

// --- the rows -------------------------------------------------------------------------------------------------------

TEST(AdvertiseRows, EveryRowOfTheTableHasItsCheck)
{
    static_assert(std::size(g_astQelNgmvpnCheckRouteToAdvTbl) == 8);
    const decltype(&QEL_NGMVPN_CheckIntraAd2Adv) checks[] = {
        QEL_NGMVPN_CheckIntraAd2Adv,      QEL_NGMVPN_CheckInterAd2Adv,     QEL_NGMVPN_CheckSpmsiAd2Adv,
        QEL_NGMVPN_CheckIntraLeafAd2Adv,  QEL_NGMVPN_CheckSpmsiLeafAd2Adv, QEL_NGMVPN_CheckSrcActiveAd2Adv,
        QEL_NGMVPN_CheckSharedTreeAd2Adv, QEL_NGMVPN_CheckSourceTreeAd2Adv};
    for (std::uint32_t i = 0; i < 8; ++i) {
        EXPECT_EQ(g_astQelNgmvpnCheckRouteToAdvTbl[i].uiType, i + 1);
        EXPECT_EQ(g_astQelNgmvpnCheckRouteToAdvTbl[i].pfCheckRoute, checks[i]);
    }
}

TEST(AdvertiseRows, TheKeysTypePicksTheCheck)
{
    const HostRoute route({.key = std::nullopt});
    const QEL_PEER_S peer = peer_of(4);
    const auto check = [&](const QEL_NGMVPN_KEY_S &key) {
        const OddBytes at(bytes_of(key));
        return QEL_NGMVPN_CheckRoute(&route.info, &peer, reinterpret_cast<const QEL_NGMVPN_KEY_AT_S *>(at.data()));
    };
    for (const AddrKey &of : kAddrKeys) {
        EXPECT_EQ(check(key_with(of, 32, 128)), 1U);
        EXPECT_EQ(check(key_with(of, 128, 32)), 0U);
    }
    for (const std::uint32_t type : {2U, 6U, 9U}) {
        EXPECT_EQ(check(empty_key(type, rd_a())), 1U);
    }
    for (const std::uint32_t type : {7U, 8U}) {
        EXPECT_EQ(check(empty_key(type, rd_a())), 0U);
    }
}

TEST(AdvertiseRows, TheChoiceOfTheCheckRefusesNullArgumentsWithOneReport)
{
    const HostRoute route({});
    const QEL_PEER_S peer = peer_of(4);
    const QEL_NGMVPN_KEY_S key = inter_key(rd_a(), 1);
    expect_null_arguments_refused(3, [&](unsigned nulls) {
        return QEL_NGMVPN_CheckRoute(unless((nulls & 1) != 0, &route.info), unless((nulls & 2) != 0, &peer),
                                     unless((nulls & 4) != 0, &key));
    });
}

// --- C-multicast routes ---------------------------------------------------------------------------------------------

const std::string kImportIp4 = " 0102 c0000201 0007 ";
const std::string kImportAs = " 010a c0000201 0007 ";
const std::string kImportVrf = " 010b c0000201 0007 ";
const std::string kElse = " 0002 fde9 00000064 ";

std::uint32_t c_multicast(const std::optional<Bytes> &list, const std::optional<Bytes> &ipv6_list,
                          std::uint8_t peer_len, std::size_t asserts = 0)
{
    const HostRoute route({.key = std::nullopt, .list = list, .ipv6_list = ipv6_list});
    const QEL_PEER_S peer = peer_of(peer_len);
    const platform::Recorder recorder;
    const std::uint32_t passes = QEL_NGMVPN_CheckCmcastRoute2Adv(&route.info, &peer);
    EXPECT_EQ(recorder.asserts().size(), asserts);
    for (const std::uint32_t type : {7U, 8U}) {
        const HostRoute whole({.key = empty_key(type, rd_a()),
                               .list = list,
                               .ipv6_list = ipv6_list,
                               .user_data = peer_record(0, 4, peer_len)});
        expect_verdict(ask(whole.info), passes, asserts);
    }
    return passes;
}

TEST(AdvertiseCMulticast, TowardsAnIpv4PeerTheListDecidesWhereThereIsOne)
{
    const Bytes ipv6(20, 1);
    for (const std::string &import : {kImportIp4, kImportAs, kImportVrf}) {
        EXPECT_EQ(c_multicast(host_list(import), std::nullopt, 4), 1U);
        EXPECT_EQ(c_multicast(host_list(import), ipv6, 4), 1U);
    }
    EXPECT_EQ(c_multicast(host_list(kElse), std::nullopt, 4), 0U);
    EXPECT_EQ(c_multicast(host_list(kElse), ipv6, 4), 0U);
}

TEST(AdvertiseCMulticast, OtherwiseAnIpv6ListTowardsAnIpv6PeerPasses)
{
    for (const std::optional<Bytes> &list : {std::optional(host_list(kImportVrf)), std::optional<Bytes>()}) {
        EXPECT_EQ(c_multicast(list, Bytes(20, 1), 16), 1U);
        EXPECT_EQ(c_multicast(list, Bytes{}, 16), 1U) << "the pointer alone counts";
        EXPECT_EQ(c_multicast(list, std::nullopt, 16), 0U);
        for (const std::uint8_t other : std::initializer_list<std::uint8_t>{0, 5, 15, 17, 32, 128}) {
            EXPECT_EQ(c_multicast(list, Bytes(20, 1), other), 0U);
        }
    }
    EXPECT_EQ(c_multicast(std::nullopt, Bytes(20, 1), 4), 0U);
    EXPECT_EQ(c_multicast(std::nullopt, std::nullopt, 4), 0U);
}

TEST(AdvertiseCMulticast, OnlyThreeTypesOfCommunityAreImportTargets)
{
    for (std::uint32_t type = 0; type < 0x10000; ++type) {
        const OddBytes list(le16(type) + bytes("0b01 0a01 0201"));
        QEL_ROUTE_INFO_S route{};
        route.pucExtComm = list.data();
        route.uiExtCommLen = 8;
        const bool import = type == 0x0102 || type == 0x010a || type == 0x010b;
        ASSERT_EQ(QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(&route), import ? 1U : 0U) << type;
    }
}

TEST(AdvertiseCMulticast, TowardsAnIpv4PeerAListWithoutImportTargetIsNotSavedByIpv6Communities)
{
    EXPECT_EQ(c_multicast(host_list(kElse), Bytes(20, 1), 4), 0U);
    EXPECT_EQ(c_multicast(host_list(kElse), Bytes(20, 1), 16), 1U);
}

// kept: step i moves i elements on, so that elements 0, 1, 3, 6, 10, 15 are looked at and no others
TEST(AdvertiseCMulticast, TheWalkLooksAtElements0_1_3_6_10AndNoOthers)
{
    for (std::size_t count = 1; count <= 22; ++count) {
        for (std::size_t place = 0; place < count; ++place) {
            Bytes list;
            for (std::size_t i = 0; i < count; ++i) {
                list = list + host_list(i == place ? kImportVrf : kElse);
            }
            const bool met =
                place == 0 || place == 1 || place == 3 || place == 6 || place == 10 || place == 15 || place == 21;
            EXPECT_EQ(c_multicast(list, std::nullopt, 4), met ? 1U : 0U) << count << " " << place;
        }
    }
}

// kept: the place that the third step looks at lies past the end and matches nothing
TEST(AdvertiseCMulticast, AThirdOfThreeElementsIsNotMetAndNothingPastTheEndIsRead)
{
    EXPECT_EQ(c_multicast(host_list(kElse + kElse + kImportVrf), std::nullopt, 4), 0U);
    const Bytes behind = host_list(kElse + kElse + kElse + kImportVrf + kImportVrf);
    const HostRoute whole({.list = behind});
    HostRoute cut({.list = behind});
    cut.info.uiExtCommLen = 24;
    EXPECT_EQ(QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(&whole.info), 1U);
    EXPECT_EQ(QEL_NGMVPN_IsExistImportRtInIPv4ExtComm(&cut.info), 0U);
}

TEST(AdvertiseCMulticast, AListOfTheLargestLengthEndsTheWalk)
{
    Bytes list(0x80000, 2);
    EXPECT_EQ(c_multicast(list, std::nullopt, 4), 0U);
    const Bytes element = host_list(kImportVrf);
    std::copy(element.begin(), element.end(), list.begin() + 8 * 65341); // 361 * 362 / 2
    EXPECT_EQ(c_multicast(list, std::nullopt, 4), 1U);
}

TEST(AdvertiseCMulticast, AListThatIsEmptyOrNoWholeNumberOfElementsIsReported)
{
    EXPECT_EQ(c_multicast(Bytes{}, Bytes(20, 1), 4, 1), 0U);
    for (std::size_t rest = 1; rest < 8; ++rest) {
        EXPECT_EQ(c_multicast(host_list(kImportVrf) + Bytes(rest), std::nullopt, 4, 1), 0U);
        EXPECT_EQ(c_multicast(Bytes(rest, 1), std::nullopt, 4, 1), 0U);
    }
    EXPECT_EQ(c_multicast(Bytes{}, Bytes(20, 1), 16), 1U) << "not looked at";
}

} // namespace
} // namespace qel::test
