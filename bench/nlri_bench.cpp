// What one route costs in the library, beside the floor: the least that the same result can cost on the same platform
// services.
#include "bench/table.h"

#include "host/family.h"
#include "host/route.h"
#include "host/update.h"
#include "ngmvpn/qel_ngmvpn_nlri.h"
#include "ngmvpn/qel_ngmvpn_records.h"
#include "platform/bounds.h"
#include "platform/zvk.h"

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qel::bench {
namespace {

constexpr std::uint32_t kMemHandle = 3;
constexpr std::uint32_t kAttribute = host::kAttrMpReach;
constexpr std::size_t kRoom = 78; // of the largest route

struct RouteForm {
    std::string_view name;
    std::uint16_t afi;
    std::string_view wire;
};

constexpr std::array kForms{
    RouteForm{"intra-as ipv4", 1, "01 0c 0000006400000001 c0000201"},
    RouteForm{"intra-as ipv6", 2, "01 18 0000006400000001 20010db8000000000000000000000001"},
    RouteForm{"inter-as ipv4", 1, "02 0c 0000006400000001 0000fde9"},
    RouteForm{"inter-as ipv6", 2, "02 0c 0001c00002010007 fa56ea01"},
    RouteForm{"s-pmsi ipv4", 1, "03 16 0000006400000001 20 0a010001 20 e8010101 c0000201"},
    RouteForm{"s-pmsi ipv6", 2,
              "03 3a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"
              " 20010db8000000000000000000000001"},
    RouteForm{"leaf of i-pmsi ipv4", 1, "04 12 01 0c 0000006400000001 c0000201 c0000202"},
    RouteForm{"leaf of i-pmsi ipv6", 2,
              "04 2a 01 18 0000006400000001 20010db8000000000000000000000001 20010db8000000000000000000000002"},
    RouteForm{"leaf of s-pmsi ipv4", 1, "04 1c 03 16 0000006400000001 20 0a010001 20 e8010101 c0000201 c0000202"},
    RouteForm{"leaf of s-pmsi ipv6", 2,
              "04 4c 03 3a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"
              " 20010db8000000000000000000000001 20010db8000000000000000000000002"},
    RouteForm{"source active ipv4", 1, "05 12 0000006400000001 20 0a010001 20 e8010101"},
    RouteForm{"source active ipv6", 2,
              "05 2a 0000006400000001 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
    RouteForm{"shared join ipv4", 1, "06 16 0000006400000001 0000fbf4 20 0a010001 20 e8010101"},
    RouteForm{
        "shared join ipv6", 2,
        "06 2e 0000006400000001 0000fbf4 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
    RouteForm{"source join ipv4", 1, "07 16 0000006400000001 0000fbf4 20 0a010001 20 e8010101"},
    RouteForm{
        "source join ipv6", 2,
        "07 2e 0000006400000001 0000fbf4 80 20010db8000100000000000000000001 80 ff3e0000000000000000000080000001"},
};

// One route, parsed once: what the operations take and what the floors copy.
class Sample {
public:
    explicit Sample(const RouteForm &form)
        : wire_(bytes(form.wire)), family_(*host::find_family(form.afi, 5), kMemHandle), route_(parse()), twin_(parse())
    {
        if (format() != wire_.size() || std::memcmp(out_.data(), wire_.data(), wire_.size()) != 0 || compare() != 0) {
            fail(form.name);
        }
    }

    host::BlockPtr parse()
    {
        const std::uint8_t *cursor = wire_.data();
        QEL_ROUTE_BLOCK_S *block = nullptr;
        std::uint32_t more = 0;
        const std::uint32_t code = family_.desc().pfParsePkt(&cursor, static_cast<std::uint32_t>(wire_.size()), 0,
                                                             kAttribute, &block, &more, family_.ctx());
        if (code != QEL_OK || block == nullptr) [[unlikely]] {
            fail("a route is not taken");
        }
        return host::BlockPtr(block);
    }

    // What the contract makes of a route, and nothing else: a block allocated, cleared and filled.
    host::BlockPtr parse_floor() const
    {
        const QEL_ROUTE_INFO_S &info = route_.info();
        const std::size_t size = sizeof(QEL_ROUTE_BLOCK_S) + info.uiRdLen + info.uiKeyLen + info.uiNonKeyLen;
        void *mem = ZVK_SimpleAlloc_F(kMemHandle, static_cast<std::uint32_t>(size), __FILE__, __LINE__);
        auto *to = static_cast<std::uint8_t *>(mem);
        memset_s(to, size, 0, size);
        std::size_t room = size - sizeof(QEL_ROUTE_BLOCK_S);
        to += sizeof(QEL_ROUTE_BLOCK_S);
        for (const auto &[section, length] :
             {std::pair{info.pucRd, info.uiRdLen}, std::pair{info.pucKey, info.uiKeyLen},
              std::pair{info.pucNonKey, info.uiNonKeyLen}}) {
            memcpy_s(to, room, section, length);
            to += length;
            room -= length;
        }
        return host::BlockPtr(static_cast<QEL_ROUTE_BLOCK_S *>(mem));
    }

    std::size_t format()
    {
        std::uint8_t *cursor = out_.data();
        if (family_.desc().pfFormatPkt(&route_.mutable_info(), kAttribute, &cursor, kRoom, family_.ctx()) != QEL_OK)
            [[unlikely]] {
            fail("a route is not written");
        }
        return static_cast<std::size_t>(cursor - out_.data());
    }

    std::size_t format_floor()
    {
        std::memcpy(out_.data(), wire_.data(), wire_.size());
        return wire_.size();
    }

    // Of equal keys, where no difference ends it early.
    std::int32_t compare() const
    {
        const QEL_ROUTE_INFO_S &a = route_.info();
        const QEL_ROUTE_INFO_S &b = twin_.info();
        return family_.desc().pfCmpData(a.pucKey, a.uiKeyLen, b.pucKey, b.uiKeyLen, QEL_SECTION_KEY);
    }

    std::int32_t compare_floor() const
    {
        return std::memcmp(route_.info().pucKey, twin_.info().pucKey, route_.info().uiKeyLen);
    }

private:
    Bytes wire_;
    host::Family family_;
    host::Route route_;
    host::Route twin_;
    std::array<std::uint8_t, kRoom> out_{};
};

struct Operation {
    std::string_view name;
    void (*whole)(benchmark::State &, const RouteForm &);
    void (*floor)(benchmark::State &, const RouteForm &);
};

template <auto kMember> void run_member(benchmark::State &state, const RouteForm &form)
{
    Sample sample(form);
    measure(state, [&] { return (sample.*kMember)(); });
}

constexpr std::array kOperations{
    Operation{"parse", run_member<&Sample::parse>, run_member<&Sample::parse_floor>},
    Operation{"format", run_member<&Sample::format>, run_member<&Sample::format_floor>},
    Operation{"compare", run_member<&Sample::compare>, run_member<&Sample::compare_floor>},
};

std::vector<Line> lines()
{
    std::vector<Line> all;
    for (const Operation &operation : kOperations) {
        for (const RouteForm &form : kForms) {
            all.push_back({std::string(operation.name), std::string(form.name),
                           [&](benchmark::State &state) { operation.whole(state, form); },
                           [&](benchmark::State &state) { operation.floor(state, form); }});
        }
    }
    return all;
}

} // namespace
} // namespace qel::bench

int main(int argc, char **argv)
{
    return qel::bench::run(argc, argv, qel::bench::lines());
}
