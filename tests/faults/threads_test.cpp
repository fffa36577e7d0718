#include "support.h"

#include "host/family.h"
#include "host/route.h"

#include <atomic>
#include <string_view>
#include <thread>
#include <utility>

namespace qel::test {
namespace {

struct Subject {
    std::uint8_t safi;
    std::string_view route;
};

constexpr Subject kSubjects[] = {
    {5, "03 16 0000 0064 00000001 20 0a010001 20 e8010101 c0000201"},
    {66, "80 0000 0064 00000005 0a000001 ef010101"},
    {129, "70 000641 0000 0064 00000005 0a0100"},
};
constexpr std::string_view kCommunities = "0102 c0000202 0007 0002 0064 00000001 0009 0064 00000001";

host::BlockPtr parse(const host::Family &family, std::uint32_t type, std::string_view wire)
{
    const ExactCopy octets(bytes(wire));
    const std::uint8_t *cursor = octets.data();
    QEL_ROUTE_BLOCK_S *block = nullptr;
    std::uint32_t more = 0;
    if (family.desc().pfParsePkt(&cursor, octets.size(), 0, type, &block, &more, family.ctx()) != QEL_OK) {
        return nullptr;
    }
    return host::BlockPtr(block);
}

// The road of one route through an instance; counts what did not come out as it should.
unsigned drive(const host::Family &family, const Subject &subject)
{
    host::Route route(parse(family, 14, subject.route));
    route.add(parse(family, 16, kCommunities));
    const QEL_ROUTE_INFO_S &info = route.info();
    unsigned wrong = 0;

    std::uint8_t out[128];
    std::uint8_t *cursor = out;
    QEL_ROUTE_INFO_S copy = info;
    wrong += family.desc().pfFormatPkt(&copy, 14, &cursor, sizeof(out), family.ctx()) != QEL_OK;
    wrong += Bytes(out, cursor).size() != bytes(subject.route).size();
    wrong += family.desc().pfCmpData(info.pucKey, info.uiKeyLen, info.pucKey, info.uiKeyLen, QEL_SECTION_KEY) != 0;

    std::uint32_t length = 0;
    std::uint32_t index = 0;
    std::uint32_t more = 0;
    std::uint8_t *value = nullptr;
    wrong += family.desc().pfGetCross(&info, &value, &length, &index, &more, family.ctx()) != QEL_OK;
    const host::OctetsPtr cross(value);

    char text[256];
    index = more = 0;
    wrong += family.desc().pfData2Str(&info, 1, text, sizeof(text), &index, &more, family.ctx()) != QEL_OK;

    const Bytes target = bytes("0002 0064 00000009");
    QEL_ROUTE_BLOCK_S *block = nullptr;
    wrong += family.desc().pfApplyAction(&info, 6, target.data(), 8, &block, family.ctx()) != QEL_OK;
    const host::BlockPtr changed(block);
    return wrong + (cross == nullptr) + (changed == nullptr);
}

TEST(Threads, InstancesOfAllFamiliesRunSideBySide)
{
    constexpr int kThreadsPerFamily = 4;
    constexpr int kRounds = 200;
    const std::uint64_t live = platform::total_usage().live_blocks;
    std::atomic<unsigned> wrong{0};
    std::atomic<unsigned> done{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreadsPerFamily; ++i) {
        for (const Subject &subject : kSubjects) {
            threads.emplace_back([&, handle = static_cast<std::uint32_t>(100 + threads.size())] {
                const host::Family family(*host::find_family(1, subject.safi), handle);
                for (int round = 0; round < kRounds; ++round) {
                    wrong += drive(family, subject);
                    ++done;
                }
            });
        }
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(done, kThreadsPerFamily * kRounds * std::size(kSubjects));
    EXPECT_EQ(platform::total_usage().live_blocks, live);
}

// One instance may be handed from thread to thread, as long as one has it at a time.
TEST(Threads, AnInstanceGoesFromThreadToThread)
{
    for (const Subject &subject : kSubjects) {
        const host::Family family(*host::find_family(1, subject.safi), kMemHandle);
        unsigned wrong = 0;
        for (int i = 0; i < 4; ++i) {
            std::thread([&] { wrong += drive(family, subject); }).join();
        }
        EXPECT_EQ(wrong, 0U);
    }
}

} // namespace
} // namespace qel::test
